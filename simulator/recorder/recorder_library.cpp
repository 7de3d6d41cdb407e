// SPDX-License-Identifier: Apache-2.0
#include "recorder_library.h"

#include <android/log.h>

#include <cstdlib>
#include <mutex>

#include "../trace/recorder.h"
#include "real_libraries.h"

namespace virtual_dock {
namespace {

// The recorder of this process; made at the first call, never destroyed.
class ProcessRecorder {
  public:
    static ProcessRecorder& get() {
        static auto* const recorder = new ProcessRecorder();
        return *recorder;
    }

    // Whether the real library is there.
    bool prepare(Library library, FindNext findNext) {
        std::string problem;
        const bool loaded = prepare(library, findNext, &problem);
        if (!problem.empty()) {
            __android_log_print(ANDROID_LOG_ERROR, "dock-recorder", "%s", problem.c_str());
        }
        return loaded;
    }

    const RealLibraries& libraries() const { return mLibraries; }
    Recorder& recorder() { return mRecorder; }

  private:
    struct Loading {
        bool done = false;
        bool loaded = false;
    };

    bool prepare(Library library, FindNext findNext, std::string* problem) EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        Loading& loading = mLoading[static_cast<size_t>(library)];
        if (!loading.done) {
            loading = {.done = true, .loaded = mLibraries.load(library, findNext, problem)};
            if (loading.loaded) startRecording(problem);
        }
        return loading.loaded;
    }

    void startRecording(std::string* problem) REQUIRES(mLock) {
        if (mStarted) return;
        mStarted = true;
        const char* const path = std::getenv("CHARGELINK_TRACE");
        if (path == nullptr || path[0] == '\0') return;
        if (!mRecorder.start(path, mLibraries.paths(), problem)) {
            *problem = "nothing is recorded: " + *problem;
        }
    }

    std::mutex mLock;
    Loading mLoading[2] GUARDED_BY(mLock);
    bool mStarted GUARDED_BY(mLock) = false;
    RealLibraries mLibraries;
    Recorder mRecorder{&mLibraries};
};

}  // namespace

int dockRecorderStart(Library library, FindNext findNext) {
    ProcessRecorder& process = ProcessRecorder::get();
    return process.prepare(library, findNext) ? process.libraries().initialise(library) : 1;
}

Endpoint* dockRecorderEndpoint(Library library, FindNext findNext) {
    ProcessRecorder::get().prepare(library, findNext);
    return &ProcessRecorder::get().recorder();
}

void dockRecorderUevent(const TraceMoment* sent, const char* message, size_t size) {
    ProcessRecorder::get().recorder().recordUevent(*sent, {message, size});
}

}  // namespace virtual_dock
