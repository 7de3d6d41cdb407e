// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <stdio.h>

namespace android::base {

void StringAppendV(std::string* dst, const char* format, va_list ap) {
    char shortText[256];
    va_list again;
    va_copy(again, ap);
    const int length = vsnprintf(shortText, sizeof(shortText), format, ap);
    if (length >= 0 && static_cast<size_t>(length) < sizeof(shortText)) {
        dst->append(shortText, static_cast<size_t>(length));
    } else if (length >= 0) {
        const size_t former = dst->size();
        dst->resize(former + static_cast<size_t>(length));
        vsnprintf(dst->data() + former, static_cast<size_t>(length) + 1, format, again);
    }
    va_end(again);
}

std::string StringPrintf(const char* fmt, ...) {
    std::string text;
    va_list arguments;
    va_start(arguments, fmt);
    StringAppendV(&text, fmt, arguments);
    va_end(arguments);
    return text;
}

void StringAppendF(std::string* dst, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    StringAppendV(dst, fmt, arguments);
    va_end(arguments);
}

}  // namespace android::base
