// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <functional>
#include <memory>

namespace android::host {

// Starts a detached thread. False when the system has no thread left; std::thread would
// end the process.
[[nodiscard]] inline bool startThread(const char* name, std::function<void()> run) {
    struct Start {
        const char* name;
        std::function<void()> run;
    };
    auto start = std::make_unique<Start>(Start{name, std::move(run)});
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const int error = pthread_create(
        &thread, &attributes,
        [](void* argument) -> void* {
            const std::unique_ptr<Start> mine(static_cast<Start*>(argument));
            pthread_setname_np(pthread_self(), mine->name);
            mine->run();
            return nullptr;
        },
        start.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) return false;
    (void)start.release();
    return true;
}

}  // namespace android::host
