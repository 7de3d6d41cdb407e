// SPDX-License-Identifier: Apache-2.0
#pragma once

// The log of the Android NDK (liblog), standing in for it on Linux.
//
// An entry has a priority, a tag and a text. Entries go to the logger function; the one in place at
// start writes them to standard error, one line each, in logcat's threadtime form:
//
//     MM-DD HH:MM:SS.mmm  PID  TID P TAG: text
//
// One line feed at the end of the text is dropped. Every other one, and what else could forge a
// line or control a terminal, is escaped (see host/escape.h): for several lines, log several
// entries. A line has at most 4,096 bytes; "..." ends one that was cut. A FATAL entry that knows
// its place in the source begins with "file:line] "; only such an entry allocates memory.
//
// Of the warnings and errors from one place in the source at most 20 a second are written, and as
// many of those that do not tell their place; the number omitted is logged before the next one.
//
// Entries below the threshold of their tag are dropped before their text is made. It comes from
//   - the environment variable ANDROID_LOG_TAGS, read when the first entry is logged: a list,
//     separated by spaces or commas, of tags and V, D, I, W, E, F or S (nothing), for instance
//     "binder:V *:W"; "*" stands for every tag that is not listed;
//   - the minimum priority, once one has been set; of both, the one that lets more through;
//   - I (info) when neither says anything.
//
// Differs from Android: there is no log daemon, so all log buffers are one stream. Entries are
// dropped when standard error is closed or nobody reads it; their number is logged once it accepts
// entries again. That delays one caller by at most 20 ms; no caller waits longer, whoever else
// writes there, unless it is another user's terminal.
//
// All functions may be called from any thread, keep errno, and take a null tag for the default tag.
// The only ones that may end the process are __android_log_assert and __android_log_call_aborter.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,  // for thresholds: as if none were set
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,  // for thresholds only: above every entry
} android_LogPriority;

typedef enum log_id {
    LOG_ID_MIN = 0,
    LOG_ID_MAIN = 0,
    LOG_ID_RADIO = 1,
    LOG_ID_EVENTS = 2,
    LOG_ID_SYSTEM = 3,
    LOG_ID_CRASH = 4,
    LOG_ID_STATS = 5,
    LOG_ID_SECURITY = 6,
    LOG_ID_KERNEL = 7,
    LOG_ID_MAX,
    LOG_ID_DEFAULT = 0x7FFFFFFF,
} log_id_t;

// One entry, as loggers receive it. The strings belong to the caller and are valid during the call
// only.
struct __android_log_message {
    size_t struct_size;   // sizeof(struct __android_log_message)
    int32_t buffer_id;    // a log_id_t
    int32_t priority;     // an android_LogPriority
    const char* tag;      // may be null on the way in; never null in a logger
    const char* file;     // null when unknown
    uint32_t line;        // 0 when `file` is null
    const char* message;  // never null
};

typedef void (*__android_logger_function)(const struct __android_log_message* log_message);
typedef void (*__android_aborter_function)(const char* abort_message);

// Logs `text` (write), or a text made as by printf and cut to 1,023 bytes (print). Return 1, or
// -EPERM when the entry was below its threshold.
int __android_log_write(int prio, const char* tag, const char* text);
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((__format__(printf, 3, 4)));

// Hands an entry to the logger. Does not look at thresholds: callers ask __android_log_is_loggable
// first.
void __android_log_write_log_message(struct __android_log_message* log_message);

// Logs the formatted text at FATAL, then calls the aborter; ends the process even if that returns.
// `cond` is not shown; `fmt` must not be null.
void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...)
    __attribute__((__noreturn__)) __attribute__((__format__(printf, 3, 4)));

// Replaces the logger of the process. Entries on other threads may reach the former one a moment
// longer.
void __android_log_set_logger(__android_logger_function logger);

// The logger in place at start, which writes to standard error in the form above.
void __android_log_logd_logger(const struct __android_log_message* log_message);

// What happens after a FATAL entry; without an aborter, abort().
void __android_log_set_aborter(__android_aborter_function aborter);
void __android_log_call_aborter(const char* abort_message);

// Whether an entry of this priority and tag would be logged: 1 or 0. `default_prio` is the
// threshold when none is set; the stand-in uses I when it is lower than that.
int __android_log_is_loggable(int prio, const char* tag, int default_prio);

// Sets the minimum priority (ANDROID_LOG_DEFAULT takes the setting back) and returns the former
// one.
int32_t __android_log_set_minimum_priority(int32_t priority);

// Sets the tag for entries without one; at start it is the program's name. Copied; every call costs
// memory for the life of the process.
void __android_log_set_default_tag(const char* tag);

#ifdef __cplusplus
}
#endif
