// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_ibinder.h>

#include <chrono>
#include <string>
#include <vector>

namespace android::tools {

enum class DumpOutcome { kDone, kTimedOut, kFailed };

struct DumpResult {
    DumpOutcome outcome = DumpOutcome::kFailed;
    binder_status_t status = STATUS_OK;  // with kFailed: what the call returned
    int writeError = 0;                  // the errno that `out` failed with
};

// Copies an object's dump to `out` as it comes, escaped (host/escape.h), for at most `limit`. After
// kTimedOut the call still hangs on a thread of its own, which holds a reference to the object
// until the process ends.
DumpResult copyDump(AIBinder* binder, const std::vector<std::string>& args, int out,
                    std::chrono::milliseconds limit);

}  // namespace android::tools
