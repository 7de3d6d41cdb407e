// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>
#include <stddef.h>
#include <unistd.h>

// The macros of Android's libbase that sources use.

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

// For the private or public part of a class.
#define DISALLOW_COPY_AND_ASSIGN(TypeName) \
    TypeName(const TypeName&) = delete;    \
    void operator=(const TypeName&) = delete

// The number of elements of an array, as a constant; does not compile for a pointer.
template <typename T, size_t N>
char (&ArraySizeHelper(T (&array)[N]))[N];
#define arraysize(array) (sizeof(ArraySizeHelper(array)))
