// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <string>

#include "filter.h"
#include "line_writer.h"
#include "log_limiter.h"

namespace {

constexpr size_t kMaxFormatted = 1024;  // with the terminator

std::atomic<__android_logger_function> gLogger{__android_log_logd_logger};
std::atomic<__android_aborter_function> gAborter{[](const char*) { abort(); }};
std::atomic<const char*> gDefaultTag{program_invocation_short_name};
std::atomic<int32_t> gMinimum{ANDROID_LOG_DEFAULT};

// Peers can cause warnings and errors as often as they like, so each place in the source is limited
// (places may share a limit), and so are all entries together that do not tell their place.
bool isWithinLimit(const __android_log_message& entry) {
    if (entry.priority != ANDROID_LOG_WARN && entry.priority != ANDROID_LOG_ERROR) return true;
    static android::log::LogLimiter sPlaces[64];
    static android::log::LogLimiter sUnknownPlaces;
    const size_t place = std::hash<const char*>()(entry.file) / 16 + entry.line;
    auto& limiter = entry.file != nullptr ? sPlaces[place % std::size(sPlaces)] : sUnknownPlaces;
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    unsigned omitted = 0;
    if (!limiter.allow(static_cast<uint32_t>(now.tv_sec), &omitted)) return false;
    if (omitted > 0) {
        char text[64];
        snprintf(text, sizeof(text), "%u entries like the next one were omitted", omitted);
        android::log::writeEntry(STDERR_FILENO, entry.priority, entry.tag, text);
    }
    return true;
}

void format(char (&text)[kMaxFormatted], const char* format, va_list arguments) {
    const int savedErrno = errno;
    if (vsnprintf(text, sizeof(text), format, arguments) < 0) {
        snprintf(text, sizeof(text), "(unprintable: %.900s)", format);
    }
    errno = savedErrno;
}

}  // namespace

int __android_log_write(int prio, const char* tag, const char* text) {
    if (__android_log_is_loggable(prio, tag, ANDROID_LOG_DEFAULT) == 0) return -EPERM;
    __android_log_message message = {sizeof(message), LOG_ID_MAIN, prio, tag, nullptr, 0, text};
    __android_log_write_log_message(&message);
    return 1;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    if (__android_log_is_loggable(prio, tag, ANDROID_LOG_DEFAULT) == 0) return -EPERM;
    char text[kMaxFormatted];
    va_list arguments;
    va_start(arguments, fmt);
    format(text, fmt, arguments);
    va_end(arguments);
    return __android_log_write(prio, tag, text);
}

void __android_log_write_log_message(__android_log_message* log_message) {
    if (log_message->tag == nullptr) log_message->tag = gDefaultTag;
    if (log_message->message == nullptr) log_message->message = "";
    gLogger.load()(log_message);
}

void __android_log_assert(const char* /*cond*/, const char* tag, const char* fmt, ...) {
    char text[kMaxFormatted];
    va_list arguments;
    va_start(arguments, fmt);
    format(text, fmt, arguments);
    va_end(arguments);
    __android_log_write(ANDROID_LOG_FATAL, tag, text);
    __android_log_call_aborter(text);
    abort();
}

void __android_log_set_logger(__android_logger_function logger) {
    gLogger = logger;
}

void __android_log_logd_logger(const __android_log_message* log_message) {
    __android_log_message entry = *log_message;
    if (entry.tag == nullptr) entry.tag = gDefaultTag;
    if (!isWithinLimit(entry)) return;
    std::string withPlace;
    if (entry.priority == ANDROID_LOG_FATAL && entry.file != nullptr) {
        withPlace = std::string(entry.file) + ":" + std::to_string(entry.line) + "] ";
        entry.message = withPlace.append(entry.message).c_str();
    }
    android::log::writeEntry(STDERR_FILENO, entry.priority, entry.tag, entry.message);
}

void __android_log_set_aborter(__android_aborter_function aborter) {
    gAborter = aborter;
}

void __android_log_call_aborter(const char* abort_message) {
    gAborter.load()(abort_message);
}

int __android_log_is_loggable(int prio, const char* tag, int default_prio) {
    if (tag == nullptr) tag = gDefaultTag;
    const int rule = android::log::thresholdFor(android::log::environmentRules(), tag);
    const int minimum = gMinimum;
    int threshold = rule == ANDROID_LOG_DEFAULT      ? minimum
                    : minimum == ANDROID_LOG_DEFAULT ? rule
                                                     : std::min(rule, minimum);
    if (threshold == ANDROID_LOG_DEFAULT) threshold = std::max<int>(default_prio, ANDROID_LOG_INFO);
    return prio >= threshold ? 1 : 0;
}

int32_t __android_log_set_minimum_priority(int32_t priority) {
    return gMinimum.exchange(std::max<int32_t>(priority, ANDROID_LOG_DEFAULT));
}

void __android_log_set_default_tag(const char* tag) {
    gDefaultTag = strdup(tag);  // the former one stays, because a thread may be logging with it
}
