// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android-base/thread_annotations.h>
#include <android/log.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <mutex>
#include <sstream>
#include <vector>

namespace android::base {
namespace {

int priorityOf(LogSeverity severity) {
    switch (severity) {
        case VERBOSE:
            return ANDROID_LOG_VERBOSE;
        case DEBUG:
            return ANDROID_LOG_DEBUG;
        case INFO:
            return ANDROID_LOG_INFO;
        case WARNING:
            return ANDROID_LOG_WARN;
        case ERROR:
            return ANDROID_LOG_ERROR;
        case FATAL_WITHOUT_ABORT:
        case FATAL:
            break;
    }
    return ANDROID_LOG_FATAL;
}

LogSeverity severityOf(int priority) {
    switch (priority) {
        case ANDROID_LOG_VERBOSE:
            return VERBOSE;
        case ANDROID_LOG_DEBUG:
            return DEBUG;
        case ANDROID_LOG_WARN:
            return WARNING;
        case ANDROID_LOG_ERROR:
            return ERROR;
        case ANDROID_LOG_FATAL:
        case ANDROID_LOG_SILENT:
            return FATAL;
        default:
            return INFO;
    }
}

int bufferOf(LogId id) {
    switch (id) {
        case MAIN:
            return LOG_ID_MAIN;
        case SYSTEM:
            return LOG_ID_SYSTEM;
        case RADIO:
            return LOG_ID_RADIO;
        case CRASH:
            return LOG_ID_CRASH;
        case DEFAULT:
            break;
    }
    return LOG_ID_DEFAULT;
}

LogId idOf(int buffer) {
    switch (buffer) {
        case LOG_ID_MAIN:
            return MAIN;
        case LOG_ID_SYSTEM:
            return SYSTEM;
        case LOG_ID_RADIO:
            return RADIO;
        case LOG_ID_CRASH:
            return CRASH;
        default:
            return DEFAULT;
    }
}

// What is behind the last slash of `path`, or all of it.
const char* fileName(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// A function that may be replaced while other threads call it: none is ever destroyed.
template <typename Function>
class Replaceable {
  public:
    explicit Replaceable(Function&& first) { replace(std::move(first)); }

    Function replace(Function&& next) EXCLUDES(mMutex) {
        std::lock_guard<std::mutex> lock(mMutex);
        mAll.push_back(std::make_unique<const Function>(std::move(next)));
        const Function* former = mCurrent.exchange(mAll.back().get());
        return former != nullptr ? *former : Function();
    }

    const Function& get() const { return *mCurrent.load(std::memory_order_acquire); }

  private:
    std::mutex mMutex;
    std::vector<std::unique_ptr<const Function>> mAll GUARDED_BY(mMutex);
    std::atomic<const Function*> mCurrent{nullptr};
};

// Never destroyed, so that static destructors may log.
Replaceable<LogFunction>& logger() {
    static auto& sLogger = *new Replaceable<LogFunction>(LogdLogger());
    return sLogger;
}

Replaceable<AbortFunction>& aborter() {
    static auto& sAborter = *new Replaceable<AbortFunction>(DefaultAborter);
    return sAborter;
}

}  // namespace

void LogdLogger::operator()(LogId id, LogSeverity severity, const char* tag, const char* file,
                            unsigned int line, const char* message) {
    const __android_log_message entry = {sizeof(entry),
                                         bufferOf(id == DEFAULT ? mDefaultLogId : id),
                                         priorityOf(severity),
                                         tag,
                                         file,
                                         line,
                                         message};
    __android_log_logd_logger(&entry);
}

void DefaultAborter(const char* /*abort_message*/) {
    abort();
}

void InitLogging(char* argv[], LogFunction&& newLogger, AbortFunction&& newAborter) {
    SetLogger(std::move(newLogger));
    SetAborter(std::move(newAborter));
    if (argv != nullptr && argv[0] != nullptr) {
        SetDefaultTag(fileName(argv[0]));
    }
}

LogFunction SetLogger(LogFunction&& newLogger) {
    LogFunction former = logger().replace(std::move(newLogger));
    __android_log_set_logger([](const __android_log_message* entry) {
        logger().get()(idOf(entry->buffer_id), severityOf(entry->priority), entry->tag, entry->file,
                       entry->line, entry->message);
    });
    return former;
}

AbortFunction SetAborter(AbortFunction&& newAborter) {
    AbortFunction former = aborter().replace(std::move(newAborter));
    __android_log_set_aborter([](const char* message) { aborter().get()(message); });
    return former;
}

void SetDefaultTag(const std::string& text) {
    __android_log_set_default_tag(text.c_str());
}

bool ShouldLog(LogSeverity severity, const char* tag) {
    return __android_log_is_loggable(priorityOf(severity), tag, ANDROID_LOG_INFO) != 0;
}

struct LogMessage::Data {
    const char* file;
    unsigned int line;
    LogSeverity severity;
    const char* tag;
    int error;
    int savedErrno;
    std::ostringstream text;
};

LogMessage::LogMessage(const char* file, unsigned int line, LogSeverity severity, const char* tag,
                       int error)
    : mData(new Data{fileName(file), line, severity, tag, error, errno, {}}) {}

LogMessage::~LogMessage() {
    if (mData->error != -1) mData->text << ": " << strerror(mData->error);
    const std::string text = mData->text.str();
    LogLine(mData->file, mData->line, mData->severity, mData->tag, text.c_str());
    if (mData->severity == FATAL) {
        __android_log_call_aborter(text.c_str());
        abort();
    }
    errno = mData->savedErrno;
}

std::ostream& LogMessage::stream() {
    return mData->text;
}

void LogMessage::LogLine(const char* file, unsigned int line, LogSeverity severity, const char* tag,
                         const char* message) {
    __android_log_message entry = {sizeof(entry), LOG_ID_DEFAULT, priorityOf(severity), tag, file,
                                   line,          message};
    __android_log_write_log_message(&entry);
}

}  // namespace android::base
