// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

// The macro of Android's libbase that sources use.

// Evaluates a system call expression again while it fails with EINTR; its value is the last result.
#ifndef TEMP_FAILURE_RETRY
#define TEMP_FAILURE_RETRY(exp)                \
    ({                                         \
        decltype(exp) _rc;                     \
        do {                                   \
            _rc = (exp);                       \
        } while (_rc == -1 && errno == EINTR); \
        _rc;                                   \
    })
#endif
