// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "diagnostics.h"
#include "io.h"
#include "options.h"

namespace aidlc {

// Does what the options ask for. Writes nothing unless all files are good; then false is left only
// for files that cannot be written. Everything wrong is in `diagnostics`.
bool run(const Options& options, Io* io, Diagnostics* diagnostics);

}  // namespace aidlc
