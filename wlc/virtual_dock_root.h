// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace wlc {

// The root certificate of the virtual dock, in PEM. Its private keys are published, so whatever
// it vouches for may come from anybody.
extern const char* const kVirtualDockRoot;

}  // namespace wlc
