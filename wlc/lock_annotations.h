// SPDX-License-Identifier: Apache-2.0
#pragma once

// GUARDED_BY, REQUIRES and EXCLUDES, where the binder headers do not already bring them.
#include <android/binder_interface_utils.h>

#ifndef GUARDED_BY
#define GUARDED_BY(lock)
#define REQUIRES(...)
#define EXCLUDES(...)
#endif
