// SPDX-License-Identifier: Apache-2.0
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <android/binder_process.h>
#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>

#include "commands.h"
#include "event_queue.h"
#include "failure.h"
#include "records.h"
#include "signals.h"
#include "text.h"

namespace wlc {
namespace {

using Clock = std::chrono::steady_clock;

class AlignSubscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    explicit AlignSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        mQueue.push("align", describe(info));
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

class RtxSubscriber : public charger::BnWirelessChargerRtxStatusCallback {
  public:
    explicit RtxSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus statusChanged(const charger::RtxStatusInfo& info) override {
        mQueue.push("rtx", describe(info));
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

class FanSubscriber : public charger::BnWirelessChargerFanLevelChangedCallback {
  public:
    explicit FanSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus fanLevelChanged(int32_t level) override {
        Report report;
        report.field("level", level);
        mQueue.push("fan", report);
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

struct WatchArguments {
    std::vector<std::string> kinds;
    uint64_t count = 0;
    double timeout = 0;
};

bool wanted(const WatchArguments& arguments, const char* kind) {
    return arguments.kinds.empty() ||
           std::find(arguments.kinds.begin(), arguments.kinds.end(), kind) != arguments.kinds.end();
}

// The queue lives as long as the process: a callback may run until the very end.
EventQueue& theQueue() {
    static EventQueue* const queue = new EventQueue;
    return *queue;
}

void onServiceDied(void* queue) {
    static_cast<EventQueue*>(queue)->close();
}

// What is subscribed to; ended in order, also when the command ends early.
class Subscriptions {
  public:
    Subscriptions(Context& context, const WatchArguments& arguments) : mService(context.service()) {
        EventQueue& queue = theQueue();
        mDeath.set(AIBinder_DeathRecipient_new(onServiceDied));
        if (AIBinder_linkToDeath(mService->asBinder().get(), mDeath.get(), &queue) != STATUS_OK) {
            queue.close();
        }
        if (wanted(arguments, "align")) {
            auto subscriber = ndk::SharedRefBase::make<AlignSubscriber>(queue);
            check(mService->registerCallback(subscriber), "watch align");
            mAlign = subscriber;
        }
        if (wanted(arguments, "rtx")) {
            auto subscriber = ndk::SharedRefBase::make<RtxSubscriber>(queue);
            check(mService->registerRtxCallback(subscriber), "watch rtx");
            mRtx = subscriber;
        }
        if (wanted(arguments, "fan")) {
            auto subscriber = ndk::SharedRefBase::make<FanSubscriber>(queue);
            check(mService->registerFanLevelChangedCallback(subscriber), "watch fan");
            mFan = subscriber;
        }
    }

    // The service also forgets a subscriber whose process ends; nothing depends on these calls.
    ~Subscriptions() {
        if (mAlign != nullptr) static_cast<void>(mService->unregisterCallback(mAlign));
        if (mRtx != nullptr) static_cast<void>(mService->unregisterRtxCallback(mRtx));
        if (mFan != nullptr) static_cast<void>(mService->unregisterFanLevelChangedCallback(mFan));
    }

    Subscriptions(const Subscriptions&) = delete;
    Subscriptions& operator=(const Subscriptions&) = delete;

  private:
    std::shared_ptr<charger::IWirelessCharger> mService;
    ndk::ScopedAIBinder_DeathRecipient mDeath;
    std::shared_ptr<charger::IWirelessChargerInfoCallback> mAlign;
    std::shared_ptr<charger::IWirelessChargerRtxStatusCallback> mRtx;
    std::shared_ptr<charger::IWirelessChargerFanLevelChangedCallback> mFan;
};

void printEvent(const Context& context, const EventQueue::Event& event) {
    Json object = {{"event", event.name}};
    object.update(event.report.json());
    context.printJson(object);
    context.printText(fmt::format("{:<5}  {}\n", event.name, event.report.line()));
}

// Milliseconds until a deadline for poll(), rounded up; -1 for none.
int untilDeadline(const std::optional<Clock::time_point>& deadline) {
    if (!deadline.has_value()) return -1;
    const std::chrono::duration<double, std::milli> left = *deadline - Clock::now();
    return static_cast<int>(std::clamp(std::ceil(left.count()), 0.0, 86400e3));
}

void watch(Context& context, const WatchArguments& arguments) {
    for (const std::string& kind : arguments.kinds) {
        if (kind == "align" || kind == "rtx" || kind == "fan") continue;
        const std::string meant = nearest(kind, {"align", "rtx", "fan"});
        throw badUsage(fmt::format(
            "unknown event '{}'{}", printable(kind),
            meant.empty() ? ": align, rtx or fan" : fmt::format("; did you mean '{}'?", meant)));
    }
    const Signals signals;
    ABinderProcess_startThreadPool();
    const Subscriptions subscriptions(context, arguments);
    std::string kinds;
    for (const char* kind : {"align", "rtx", "fan"}) {
        if (wanted(arguments, kind)) kinds += fmt::format("{}{}", kinds.empty() ? "" : ", ", kind);
    }
    context.note("watching " + kinds);

    std::optional<Clock::time_point> deadline;
    if (arguments.timeout > 0) {
        deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(arguments.timeout));
    }
    EventQueue& queue = theQueue();
    uint64_t seen = 0;
    while (arguments.count == 0 || seen < arguments.count) {
        if (const auto event = queue.pop()) {
            printEvent(context, *event);
            ++seen;
            continue;
        }
        if (queue.closed()) throw Failure(kNoService, 0, "NO_SERVICE", "the service has ended");
        pollfd waits[] = {{queue.descriptor(), POLLIN, 0}, {signals.descriptor(), POLLIN, 0}};
        if (poll(waits, 2, untilDeadline(deadline)) == 0) {
            if (arguments.count == 0) return;
            throw refused(fmt::format("{} of {} events came within {} s", seen, arguments.count,
                                      arguments.timeout));
        }
        if (signals.came()) return;
    }
}

}  // namespace

void addWatchCommand(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<WatchArguments>();
    CLI::App* command = app.add_subcommand("watch", "Print events as they come, until Ctrl-C");
    command->add_option("EVENT", arguments->kinds, "align, rtx, fan; all when none is given");
    command->add_option("--count", arguments->count, "End after so many events")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000));
    command->add_option("--timeout", arguments->timeout, "End after so long")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 86400.0));
    command->callback([&context, arguments] { watch(context, *arguments); });
}

}  // namespace wlc
