// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

// Stream logging and checks, as in Android's libbase, on top of android/log.h:
//
//     LOG(ERROR) << "error initializing " << name;
//     PLOG(WARNING) << "cannot open " << path;      // adds ": " and the text of errno
//     CHECK_EQ(status, EX_NONE) << "while registering";
//
// A statement below its threshold evaluates nothing after the first parenthesis. Severities are
// given by their bare names; entries carry the default tag. errno stays as it was.
//
// FATAL logs "file:line] text", the file without its folders, calls the aborter, and ends the
// process even if that returns. The text of a failed check is "Check failed: a == b (a=1, b=2) "
// and what the statement adds.
//
// Everything may be used from any thread.

namespace android::base {

enum LogSeverity {
    VERBOSE,
    DEBUG,
    INFO,
    WARNING,
    ERROR,
    FATAL,
};

enum LogId {
    DEFAULT,
    MAIN,
    SYSTEM,
};

// `file` is null when unknown. The strings are valid during the call only. May be called from
// several threads at once, and must not log at FATAL itself.
using LogFunction = std::function<void(LogId id, LogSeverity severity, const char* tag,
                                       const char* file, unsigned int line, const char* message)>;
using AbortFunction = std::function<void(const char* message)>;

// Logs to standard error through liblog. `file` and `line` are shown for FATAL entries. All log
// buffers are one stream, so the id makes no difference.
class LogdLogger {
  public:
    explicit LogdLogger(LogId /*default_log_id*/ = MAIN) {}
    void operator()(LogId id, LogSeverity severity, const char* tag, const char* file,
                    unsigned int line, const char* message);
};

// Calls abort().
void DefaultAborter(const char* abort_message);

// Sets the default tag to the last component of argv[0], and logger and aborter, which also get
// what comes from android/log.h (with the id MAIN; from here it is DEFAULT). Call it first in main,
// before there is another thread. ANDROID_LOG_TAGS applies with and without it.
void InitLogging(char* argv[], LogFunction&& logger = LogdLogger(),
                 AbortFunction&& aborter = DefaultAborter);

// Whether an entry without a tag of its own is above its threshold.
bool ShouldLog(LogSeverity severity);

// One entry in the making, logged when destroyed. For the macros below.
class LogMessage {
  public:
    // Of `file` the logger gets what is behind the last slash. `error` is an errno value whose text
    // is added, or -1.
    LogMessage(const char* file, unsigned int line, LogSeverity severity, int error);
    ~LogMessage();
    LogMessage(const LogMessage&) = delete;
    void operator=(const LogMessage&) = delete;

    std::ostream& stream();

  private:
    struct Data;
    const std::unique_ptr<Data> mData;
};

// The two sides of a comparison, each evaluated once. For the macros below.
template <typename L, typename R>
struct EagerEvaluator {
    L lhs;
    R rhs;
};

template <typename L, typename R>
EagerEvaluator<std::decay_t<L>, std::decay_t<R>> MakeEagerEvaluator(L&& lhs, R&& rhs) {
    return {std::forward<L>(lhs), std::forward<R>(rhs)};
}

}  // namespace android::base

#define WOULD_LOG(severity)                                                            \
    (__builtin_expect(::android::base::ShouldLog(::android::base::severity), false) || \
     ::android::base::severity == ::android::base::FATAL)

#define LOG_STREAM_WITH_ERROR(severity, error) \
    ::android::base::LogMessage(__FILE__, __LINE__, ::android::base::severity, error).stream()
#define LOG_STREAM(severity) LOG_STREAM_WITH_ERROR(severity, -1)

#define LOG(severity) WOULD_LOG(severity) && LOG_STREAM(severity)
#define PLOG(severity) WOULD_LOG(severity) && LOG_STREAM_WITH_ERROR(severity, errno)

#define CHECK(x) \
    __builtin_expect(static_cast<bool>(x), true) || LOG_STREAM(FATAL) << "Check failed: " #x << " "
#define PCHECK(x)                                                                       \
    __builtin_expect(static_cast<bool>(x), true) || LOG_STREAM_WITH_ERROR(FATAL, errno) \
                                                        << "Check failed: " #x << " "

#define CHECK_EQ(LHS, RHS)                                                              \
    for (auto _values = ::android::base::MakeEagerEvaluator(LHS, RHS);                  \
         __builtin_expect(!(_values.lhs == _values.rhs), false);)                       \
    LOG_STREAM(FATAL) << "Check failed: " #LHS " == " #RHS " (" #LHS "=" << _values.lhs \
                      << ", " #RHS "=" << _values.rhs << ") "
