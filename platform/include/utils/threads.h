// SPDX-License-Identifier: Apache-2.0
#pragma once

// Android's collective header.
#include <utils/Thread.h>
#include <utils/ThreadDefs.h>
