// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android/log.h>
#include <stdlib.h>
#include <string.h>

#include <sstream>
#include <string>
#include <utility>

namespace android::base {
namespace {

// The priority of each severity, in their order.
constexpr int kPriorities[] = {ANDROID_LOG_VERBOSE, ANDROID_LOG_DEBUG, ANDROID_LOG_INFO,
                               ANDROID_LOG_WARN,    ANDROID_LOG_ERROR, ANDROID_LOG_FATAL};

LogSeverity severityOf(int priority) {
    for (int severity = VERBOSE; severity <= ERROR; ++severity) {
        if (kPriorities[severity] == priority) return static_cast<LogSeverity>(severity);
    }
    return priority >= ANDROID_LOG_FATAL ? FATAL : INFO;
}

// What is behind the last slash of `path`, or all of it.
const char* fileName(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// Set by InitLogging, before other threads log; never destroyed, since static destructors may log.
LogFunction* gLogger = nullptr;
AbortFunction* gAborter = nullptr;

}  // namespace

void LogdLogger::operator()(LogId /*id*/, LogSeverity severity, const char* tag, const char* file,
                            unsigned int line, const char* message) {
    const __android_log_message entry = {
        sizeof(entry), LOG_ID_DEFAULT, kPriorities[severity], tag, file, line, message};
    __android_log_logd_logger(&entry);
}

void DefaultAborter(const char* /*abort_message*/) {
    abort();
}

void InitLogging(char* argv[], LogFunction&& logger, AbortFunction&& aborter) {
    gLogger = new LogFunction(std::move(logger));
    gAborter = new AbortFunction(std::move(aborter));
    __android_log_set_logger([](const __android_log_message* entry) {
        (*gLogger)(entry->buffer_id == LOG_ID_MAIN ? MAIN : DEFAULT, severityOf(entry->priority),
                   entry->tag, entry->file, entry->line, entry->message);
    });
    __android_log_set_aborter([](const char* message) { (*gAborter)(message); });
    if (argv != nullptr && argv[0] != nullptr) __android_log_set_default_tag(fileName(argv[0]));
}

bool ShouldLog(LogSeverity severity) {
    return __android_log_is_loggable(kPriorities[severity], nullptr, ANDROID_LOG_INFO) != 0;
}

struct LogMessage::Data {
    const char* file;
    unsigned int line;
    LogSeverity severity;
    int error;
    int savedErrno;
    std::ostringstream text;
};

LogMessage::LogMessage(const char* file, unsigned int line, LogSeverity severity, int error)
    : mData(new Data{fileName(file), line, severity, error, errno, {}}) {}

LogMessage::~LogMessage() {
    if (mData->error != -1) mData->text << ": " << strerror(mData->error);
    const std::string text = mData->text.str();
    __android_log_message entry = {sizeof(entry), LOG_ID_DEFAULT, kPriorities[mData->severity],
                                   nullptr,       mData->file,    mData->line,
                                   text.c_str()};
    __android_log_write_log_message(&entry);
    if (mData->severity == FATAL) {
        __android_log_call_aborter(text.c_str());
        abort();
    }
    errno = mData->savedErrno;
}

std::ostream& LogMessage::stream() {
    return mData->text;
}

}  // namespace android::base
