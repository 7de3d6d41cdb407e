// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include <android/binder_manager.h>
#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

#include "failure.h"
#include "text.h"
#include "time_limit.h"

namespace wlc {
namespace {

void write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw Failure(kRefused, 0, "OUTPUT",
                      fmt::format("cannot write to standard output: {}", std::strerror(errno)));
    }
}

}  // namespace

std::string instanceName() {
    return std::string(charger::IWirelessCharger::descriptor) + "/default";
}

const std::shared_ptr<charger::IWirelessCharger>& Context::service() {
    using Clock = std::chrono::steady_clock;
    if (mService != nullptr) return mService;
    const std::string name = instanceName();
    const auto deadline = Clock::now() + std::chrono::duration<double>(waitSeconds);
    if (limited) {
        limitAnswerTime(waitSeconds + (timeoutSeconds > 0 ? timeoutSeconds : answerSeconds), json);
    }
    for (;;) {
        const ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
        if (binder.get() != nullptr) {
            mService = charger::IWirelessCharger::fromBinder(binder);
            if (mService != nullptr) {
                limitAnswers();
                return mService;
            }
            if (AIBinder_isAlive(binder.get())) {
                throw Failure(kNoService, 0, "NO_SERVICE",
                              name + " implements a different interface");
            }
        }
        if (Clock::now() >= deadline) {
            throw Failure(
                kNoService, 0, "NO_SERVICE",
                fmt::format("service {} is not running{}", name,
                            waitSeconds > 0
                                ? fmt::format(" (waited {} s)", waitSeconds)
                                : "; it must run as this user, with the same ANDROID_HOST_DIR "
                                  "(--wait SECONDS waits for it)"));
        }
        // There is no notification; the interval is short compared with a service start.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void Context::limitAnswers() const {
    if (limited) limitAnswerTime(timeoutSeconds > 0 ? timeoutSeconds : answerSeconds, json);
}

void Context::print(const Report& report) const {
    write(json ? toText(report.json()) + "\n" : printableLines(report.lines()));
}

void Context::printText(const std::string& text) const {
    if (!json) write(printableLines(text));
}

void Context::printJson(const Json& object) const {
    if (json) write(toText(object) + "\n");
}

void Context::note(const std::string& message) const {
    std::fprintf(stderr, "%s\n", printable(message).c_str());
}

}  // namespace wlc
