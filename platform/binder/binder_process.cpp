// SPDX-License-Identifier: Apache-2.0
//
// The C functions of android/binder_process.h.
#include <android/binder_process.h>

#include "reactor.h"

using android::host::Reactor;

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    Reactor::get().setMaxThreads(numThreads);
    return true;
}

void ABinderProcess_startThreadPool() {
    Reactor::get().startPool();
}

void ABinderProcess_joinThreadPool() {
    Reactor::get().joinPool();
}
