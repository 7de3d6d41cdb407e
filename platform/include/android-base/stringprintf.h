// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdarg.h>

#include <string>

// Texts made as by printf, as in Android's libbase.

namespace android::base {

std::string StringPrintf(const char* fmt, ...) __attribute__((__format__(__printf__, 1, 2)));

// Append to `*dst`, which is left alone when the format cannot be printed.
void StringAppendF(std::string* dst, const char* fmt, ...)
    __attribute__((__format__(__printf__, 2, 3)));
void StringAppendV(std::string* dst, const char* format, va_list ap)
    __attribute__((__format__(__printf__, 2, 0)));

}  // namespace android::base
