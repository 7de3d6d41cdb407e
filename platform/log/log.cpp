// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <host/log_limiter.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "filter.h"
#include "line_writer.h"

namespace {

constexpr size_t kMaxFormatted = 1024;  // with the terminator

std::atomic<__android_logger_function> gLogger{__android_log_logd_logger};
std::atomic<__android_aborter_function> gAborter{[](const char*) { abort(); }};
std::atomic<const char*> gDefaultTag{nullptr};

const char* defaultTag() {
    const char* tag = gDefaultTag.load(std::memory_order_acquire);
    return tag != nullptr ? tag : program_invocation_short_name;
}

bool isLoggable(int priority, const char* tag) {
    return android::log::mayPass(priority) &&
           __android_log_is_loggable(priority, tag, ANDROID_LOG_VERBOSE) != 0;
}

// Peers can cause warnings and errors as often as they like, so each place in the source is limited
// (places may share a limit), and so are all those together that do not tell their place.
bool isWithinLimit(const __android_log_message& entry, const char* tag) {
    if (entry.priority != ANDROID_LOG_WARN && entry.priority != ANDROID_LOG_ERROR) return true;
    static android::host::LogLimiter sPlaces[64];
    static android::host::LogLimiter sUnknownPlaces;
    const size_t place = std::hash<const char*>()(entry.file) / 16 + entry.line;
    auto& limiter = entry.file != nullptr ? sPlaces[place % std::size(sPlaces)] : sUnknownPlaces;
    unsigned omitted = 0;
    if (!limiter.allow(&omitted)) return false;
    if (omitted > 0) {
        char text[64];
        snprintf(text, sizeof(text), "%u entries like the next one were omitted", omitted);
        android::log::writeEntry(STDERR_FILENO, entry.priority, tag, text);
    }
    return true;
}

void hand(int priority, const char* tag, const char* text) {
    __android_log_message message = {sizeof(message), LOG_ID_MAIN, priority, tag, nullptr, 0, text};
    __android_log_write_log_message(&message);
}

}  // namespace

int __android_log_write(int prio, const char* tag, const char* text) {
    if (!isLoggable(prio, tag)) return -EPERM;
    hand(prio, tag, text);
    return 1;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    if (!isLoggable(prio, tag)) return -EPERM;
    const int savedErrno = errno;
    char text[kMaxFormatted];
    va_list arguments;
    va_start(arguments, fmt);
    if (vsnprintf(text, sizeof(text), fmt, arguments) < 0) {
        snprintf(text, sizeof(text), "(unprintable: %.900s)", fmt);
    }
    va_end(arguments);
    hand(prio, tag, text);
    errno = savedErrno;
    return 1;
}

void __android_log_write_log_message(__android_log_message* log_message) {
    if (log_message->tag == nullptr) log_message->tag = defaultTag();
    if (log_message->message == nullptr) log_message->message = "";
    gLogger.load(std::memory_order_acquire)(log_message);
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    char text[kMaxFormatted];
    if (fmt != nullptr) {
        va_list arguments;
        va_start(arguments, fmt);
        vsnprintf(text, sizeof(text), fmt, arguments);
        va_end(arguments);
    } else if (cond != nullptr) {
        snprintf(text, sizeof(text), "Assertion failed: %s", cond);
    } else {
        snprintf(text, sizeof(text), "Unspecified assertion failed");
    }
    __android_log_write(ANDROID_LOG_FATAL, tag, text);
    __android_log_call_aborter(text);
    abort();
}

void __android_log_set_logger(__android_logger_function logger) {
    gLogger.store(logger, std::memory_order_release);
}

void __android_log_logd_logger(const __android_log_message* log_message) {
    const char* tag = log_message->tag != nullptr ? log_message->tag : defaultTag();
    if (!isWithinLimit(*log_message, tag)) return;
    const char* text = log_message->message;
    std::string withPlace;
    if (log_message->priority == ANDROID_LOG_FATAL && log_message->file != nullptr) {
        withPlace.append(log_message->file).append(":");
        withPlace.append(std::to_string(log_message->line)).append("] ").append(text);
        text = withPlace.c_str();
    }
    android::log::writeEntry(STDERR_FILENO, log_message->priority, tag, text);
}

void __android_log_set_aborter(__android_aborter_function aborter) {
    gAborter.store(aborter, std::memory_order_release);
}

void __android_log_call_aborter(const char* abort_message) {
    gAborter.load(std::memory_order_acquire)(abort_message);
}

int __android_log_is_loggable(int prio, const char* tag, int default_prio) {
    if (!android::log::mayPass(prio)) return 0;
    if (tag == nullptr) tag = defaultTag();
    return android::log::passes(prio, tag, default_prio) ? 1 : 0;
}

int32_t __android_log_set_minimum_priority(int32_t priority) {
    return android::log::setMinimum(priority);
}

int32_t __android_log_get_minimum_priority() {
    return android::log::minimum();
}

void __android_log_set_default_tag(const char* tag) {
    // Every tag ever set stays, because a thread may be logging with it.
    static std::mutex sMutex;
    static auto* const sTags = new std::vector<char*>;
    std::lock_guard<std::mutex> lock(sMutex);
    for (const char* known : *sTags) {
        if (strcmp(known, tag) == 0) {
            gDefaultTag.store(known, std::memory_order_release);
            return;
        }
    }
    sTags->push_back(strdup(tag));
    gDefaultTag.store(sTags->back(), std::memory_order_release);
}
