// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>

// The logging macros of Android's liblog, as far as HAL sources use them. Define LOG_TAG before
// including this; without it entries carry the default tag. ALOGV costs nothing unless LOG_NDEBUG
// is 0.

#ifndef LOG_TAG
#define LOG_TAG nullptr
#endif

#ifndef LOG_NDEBUG
#ifdef NDEBUG
#define LOG_NDEBUG 1
#else
#define LOG_NDEBUG 0
#endif
#endif

#if LOG_NDEBUG
#define ALOGV(...)                                                                 \
    do {                                                                           \
        if (false) __android_log_print(ANDROID_LOG_VERBOSE, LOG_TAG, __VA_ARGS__); \
    } while (false)
#else
#define ALOGV(...) static_cast<void>(__android_log_print(ANDROID_LOG_VERBOSE, LOG_TAG, __VA_ARGS__))
#endif
#define ALOGD(...) static_cast<void>(__android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, __VA_ARGS__))
#define ALOGI(...) static_cast<void>(__android_log_print(ANDROID_LOG_INFO, LOG_TAG, __VA_ARGS__))
#define ALOGW(...) static_cast<void>(__android_log_print(ANDROID_LOG_WARN, LOG_TAG, __VA_ARGS__))
#define ALOGE(...) static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, LOG_TAG, __VA_ARGS__))

// Log at FATAL and abort, always or when `cond` holds.
#define LOG_ALWAYS_FATAL(...) __android_log_assert(nullptr, LOG_TAG, __VA_ARGS__)
#define LOG_ALWAYS_FATAL_IF(cond, ...)                                                           \
    do {                                                                                         \
        if (__builtin_expect((cond) != 0, 0)) __android_log_assert(#cond, LOG_TAG, __VA_ARGS__); \
    } while (false)
