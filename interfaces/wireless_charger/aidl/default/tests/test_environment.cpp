// SPDX-License-Identifier: Apache-2.0
// Listens to the log and stands in for what the service reads.
#include "test_environment.h"

#include <android/log.h>
#include <cutils/uevent.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>

namespace {

std::atomic<int> nextUeventSocket = -1;
std::atomic<const char*> textInLog = nullptr;
std::atomic<int> linesInLog = 0;
size_t freadLimit = SIZE_MAX;

struct Environment : testing::Environment {
    void SetUp() override {
        __android_log_set_logger([](const __android_log_message* message) {
            const char* text = textInLog;
            if (text != nullptr && strstr(message->message, text) != nullptr) linesInLog++;
            __android_log_logd_logger(message);
        });
    }
};

[[maybe_unused]] const auto* const kEnvironment =
    testing::AddGlobalTestEnvironment(new Environment);

}  // namespace

void giveUeventSocket(int fd) {
    nextUeventSocket = fd;
}

void countInLog(const char* text) {
    textInLog = text;
    linesInLog = 0;
}

int countedInLog() {
    return linesInLog;
}

void limitFread(size_t count) {
    freadLimit = count;
}

// In the place of libcutils' and libc's functions, here as on a phone.
int uevent_open_socket(int /*bufferSize*/, bool /*passcred*/) {
    return nextUeventSocket.exchange(-1);
}

ssize_t uevent_kernel_multicast_recv(int fd, void* buffer, size_t length) {
    const ssize_t received = recv(fd, buffer, length, 0);
    int error = 0;
    if (sscanf(static_cast<const char*>(buffer), "errno %d", &error) != 1) return received;
    errno = error;
    return -1;
}

size_t fread(void* to, size_t size, size_t count, FILE* file) {
    return fread_unlocked(to, size, std::min(count, freadLimit), file);
}
