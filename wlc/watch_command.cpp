// SPDX-License-Identifier: Apache-2.0
#include <android/binder_process.h>
#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "commands.h"
#include "event_subscriptions.h"
#include "failure.h"
#include "records.h"
#include "signals.h"
#include "text.h"
#include "time_limit.h"

namespace wlc {
namespace {

using Clock = std::chrono::steady_clock;

struct WatchArguments {
    std::vector<std::string> kinds;
    uint64_t count = 0;
    double timeout = 0;
    bool reconnect = false;
    bool initial = false;
};

void printEvent(const Context& context, const EventQueue::Event& event) {
    Json object = {{"event", event.name}, {"time", isoTime(event.time)}};
    object.update(event.report.json());
    context.printJson(object);
    context.printText(
        fmt::format("{}  {:<5}  {}\n", localTime(event.time), event.name, event.report.line()));
}

// The state before the first event, as events with a mark. What cannot be read is reported so.
void printInitial(Context& context, const WatchArguments& arguments) {
    const std::pair<const char*, std::function<Report()>> questions[] = {
        {"align",
         [&] {
             charger::AlignInfo info;
             check(context.service()->getAlignInfo(&info), "align");
             return describe(info);
         }},
        {"rtx",
         [&] {
             charger::RtxStatusInfo info;
             check(context.service()->getRtxInformation(&info), "rtx");
             return describe(info);
         }},
        {"fan", [&] {
             int32_t level = 0;
             check(context.service()->getFanLevel(&level), "fan level");
             return Report().field("level", level);
         }}};
    context.limitAnswers();
    for (const auto& [kind, read] : questions) {
        if (!isWanted(arguments.kinds, kind)) continue;
        Report report;
        report.field("initial", true);
        try {
            report.append(read());
        } catch (const Failure& failure) {
            if (failure.exitCode() == kNoService) throw;
            report.field("error", errorJson(failure)["error"], printable(failure.what()));
        }
        printEvent(context, {kind, report, std::chrono::system_clock::now()});
    }
    unlimitAnswerTime();
}

// Milliseconds until a deadline for poll(), rounded up; -1 for none.
int untilDeadline(const std::optional<Clock::time_point>& deadline) {
    if (!deadline.has_value()) return -1;
    const std::chrono::duration<double, std::milli> left = *deadline - Clock::now();
    return static_cast<int>(std::clamp(std::ceil(left.count()), 0.0, 86400e3));
}

class Watch {
  public:
    Watch(Context& context, const WatchArguments& arguments)
        : mContext(context), mArguments(arguments) {}

    void run() {
        ABinderProcess_startThreadPool();
        mSubscriptions.emplace(mContext, mArguments.kinds);
        std::string kinds;
        for (const char* kind : {"align", "rtx", "fan"}) {
            if (!isWanted(mArguments.kinds, kind)) continue;
            kinds += fmt::format("{}{}", kinds.empty() ? "" : ", ", kind);
        }
        mContext.note("watching " + kinds);
        if (mArguments.initial) printInitial(mContext, mArguments);
        if (mArguments.timeout > 0) {
            mDeadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(mArguments.timeout));
        }
        EventQueue& queue = EventSubscriptions::queue();
        while (mArguments.count == 0 || mSeen < mArguments.count) {
            if (const auto event = queue.pop()) {
                printEvent(mContext, *event);
                ++mSeen;
            } else if (queue.closed()) {
                if (!mArguments.reconnect) {
                    throw Failure(kNoService, 0, "NO_SERVICE",
                                  "connection to the service lost; --reconnect subscribes again");
                }
                if (!reconnect()) return;
            } else if (!waitFor(queue.descriptor(), untilDeadline(mDeadline))) {
                return;
            }
        }
    }

  private:
    // Returns false when the command has to end: on Ctrl-C or timeout. Throws on a timeout before
    // all requested events have arrived.
    bool waitFor(int descriptor, int limitMs) {
        pollfd waits[] = {{descriptor, POLLIN, 0}, {mSignals.descriptor(), POLLIN, 0}};
        poll(waits, 2, limitMs);
        if (mSignals.came()) return false;
        if (untilDeadline(mDeadline) != 0) return true;
        if (mArguments.count == 0) return false;
        throw refused(fmt::format("only {} of {} events within {} s", mSeen, mArguments.count,
                                  mArguments.timeout));
    }

    // Subscribes again once the service is back; false when the command has to end first.
    bool reconnect() {
        mContext.note("connection to the service lost; waiting for it");
        mSubscriptions.reset();
        mContext.waitSeconds = 0;
        for (;;) {
            mContext.forgetService();
            try {
                mSubscriptions.emplace(mContext, mArguments.kinds);
                break;
            } catch (const Failure& failure) {
                if (failure.exitCode() != kNoService) throw;
            }
            unlimitAnswerTime();
            const int left = untilDeadline(mDeadline);
            if (!waitFor(-1, left < 0 ? kLookupMs : std::min(left, kLookupMs))) return false;
        }
        mContext.note("watching again; events may have been missed");
        mContext.printJson({{"event", "reconnected"},
                            {"time", isoTime(std::chrono::system_clock::now())},
                            {"missed", true}});
        if (mArguments.initial) printInitial(mContext, mArguments);
        return true;
    }

    // There is no notification when a name appears.
    static constexpr int kLookupMs = 50;

    Context& mContext;
    const WatchArguments& mArguments;
    const Signals mSignals;
    std::optional<EventSubscriptions> mSubscriptions;
    std::optional<Clock::time_point> mDeadline;
    uint64_t mSeen = 0;
};

void watch(Context& context, const WatchArguments& arguments) {
    for (const std::string& kind : arguments.kinds) {
        if (kind == "align" || kind == "rtx" || kind == "fan") continue;
        const std::string meant = nearest(kind, {"align", "rtx", "fan"});
        throw badUsage(fmt::format(
            "unknown event '{}'{}", printable(kind),
            meant.empty() ? ": align, rtx or fan" : fmt::format("; did you mean '{}'?", meant)));
    }
    Watch(context, arguments).run();
}

}  // namespace

void addWatchCommand(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<WatchArguments>();
    CLI::App* command = app.add_subcommand("watch", "Print events as they arrive, until Ctrl-C");
    command->add_option("EVENT", arguments->kinds, "align, rtx or fan; default: all")
        ->type_name("");
    command->add_option("--count", arguments->count, "Exit after N events")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000));
    command
        ->add_option("--timeout", arguments->timeout,
                     "Exit after SECONDS; status 1 if fewer than --count events arrived")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.001));
    command->add_flag("--initial", arguments->initial,
                      "Print the current state first; not counted by --count");
    command->add_flag("--reconnect", arguments->reconnect,
                      "Subscribe again after the connection to the service was lost");
    command->callback([&context, arguments] { watch(context, *arguments); });
}

}  // namespace wlc
