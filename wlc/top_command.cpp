// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <iterator>
#include <memory>

#include "commands.h"
#include "event_subscriptions.h"
#include "failure.h"
#include "screen.h"
#include "signals.h"
#include "status_poller.h"
#include "top_page.h"
#include "top_state.h"

namespace wlc {
namespace {

using Milliseconds = std::chrono::milliseconds;

// The shortest time between two updates of the screen, however many events come.
constexpr Milliseconds kShortestFrame(100);
// The longest, for the time that an answer has been waited for.
constexpr Milliseconds kLongestFrame(1000);
constexpr int kRedrawKey = 'L' & 0x1f;

struct TopArguments {
    double interval = 1;
    bool ascii = false;
};

class Top {
  public:
    Top(Context& context, const TopArguments& arguments)
        : mContext(context),
          mScreen(arguments.ascii),
          mState(arguments.interval),
          mPoller(context, arguments.interval) {}

    void run() {
        auto shown = std::chrono::steady_clock::now() - kShortestFrame;
        for (;;) {
            takeNews();
            const auto now = std::chrono::steady_clock::now();
            auto wait = kLongestFrame;
            if (now - shown >= kShortestFrame) {
                mState.setWaiting(mPoller.waitingSeconds());
                mScreen.show(topPage(mState, mScreen.size()));
                shown = now;
            } else {
                wait = std::chrono::ceil<Milliseconds>(shown + kShortestFrame - now);
            }
            if (!waitFor(wait)) return;
        }
    }

  private:
    void takeNews() {
        EventQueue& queue = EventSubscriptions::queue();
        while (const auto event = queue.pop()) mState.take(*event);
        // A queue stays closed until the poller has found the service again.
        const bool closed = queue.closed();
        if (closed && !mClosed) mPoller.pollNow();
        mClosed = closed;
        if (const auto result = mPoller.take()) mState.take(*result);
    }

    // Returns false when the command has to end: on q, Ctrl-C and SIGTERM.
    bool waitFor(Milliseconds limit) {
        pollfd waits[] = {{STDIN_FILENO, POLLIN, 0},
                          {mScreen.resizeDescriptor(), POLLIN, 0},
                          {mSignals.descriptor(), POLLIN, 0},
                          {mPoller.descriptor(), POLLIN, 0},
                          {mClosed ? -1 : EventSubscriptions::queue().descriptor(), POLLIN, 0}};
        poll(waits, std::size(waits), static_cast<int>(limit.count()));
        if (mSignals.came()) return false;
        if (mContext.timeoutSeconds > 0 && mPoller.waitingSeconds() > mContext.timeoutSeconds) {
            throw Failure(
                kNoService, 0, "NO_ANSWER",
                fmt::format("no answer from the service within {:g} s", mContext.timeoutSeconds));
        }
        if (waits[1].revents != 0) mScreen.adaptSize();
        while (const int key = mScreen.key()) {
            if (key == 'q' || key == 'Q' || key == Screen::kGone) return false;
            if (key == kRedrawKey) mScreen.redraw();
        }
        return true;
    }

    const Context& mContext;
    const Signals mSignals;
    Screen mScreen;
    TopState mState;
    StatusPoller mPoller;
    bool mClosed = false;
};

}  // namespace

void addTopCommand(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<TopArguments>();
    CLI::App* command =
        app.add_subcommand("top", "Show the state live, with plots and events, until q is pressed");
    command
        ->add_option("--interval", arguments->interval, "Ask the service every SECONDS; default 1")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1));
    command->add_flag("--ascii", arguments->ascii, "Draw with ASCII characters only");
    command->callback([&context, arguments] {
        if (context.json) {
            throw badUsage("top has no JSON; use wlc --json status or wlc --json watch");
        }
        Top(context, *arguments).run();
    });
}

}  // namespace wlc
