// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "text.h"

namespace wlc {
namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kTick(250);
// How often a sign of life is printed when output is not a terminal.
constexpr seconds kSign(5);
// Minimum time between two updates of a terminal.
constexpr milliseconds kFrame(100);
// How long the job may take to react to Ctrl-C.
constexpr seconds kGrace(2);
// Distance of plain lines, in percent.
constexpr int kLinePercent = 5;
constexpr size_t kDefaultColumns = 80;

// Errors are ignored: the job continues when nobody reads its progress.
void say(const std::string& text, FILE* to = stdout) {
    std::fputs(text.c_str(), to);
    std::fflush(to);
}

size_t terminalColumns() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kDefaultColumns;
    return size.ws_col;
}

}  // namespace

Progress::Progress(const Context& context)
    : mContext(context),
      mTerminal(!context.json && isatty(STDOUT_FILENO) != 0),
      mPhaseBegan(Clock::now()),
      mMoved(Clock::now()),
      mShown(Clock::now()),
      mStop(eventfd(0, EFD_CLOEXEC)) {
    if (mStop.get() < 0) throw std::runtime_error("cannot create an event descriptor");
    mTicker = std::thread([this] { tick(); });
}

Progress::~Progress() {
    finish();
}

void Progress::finish() {
    if (mTicker.joinable()) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(mStop.get(), &one, sizeof(one));
        mTicker.join();
    }
    const std::lock_guard lock(mLock);
    if (mOpenLine == 0) return;
    // The last step may have come too soon after the one before to be shown.
    mShown = {};
    show(false);
    say("\n");
    mOpenLine = 0;
}

Failure Progress::interrupted() {
    return {kRefused, 0, "INTERRUPTED", mInterruptedText};
}

void Progress::onInterrupt(std::string text) {
    const std::lock_guard lock(mLock);
    mInterruptedText = std::move(text);
}

void Progress::phase(const std::string& name, int from, int to) {
    const std::lock_guard lock(mLock);
    mPhase = name;
    mFrom = from;
    mTo = to;
    mFirstBytes = mBytes = mTotalBytes = 0;
    mPhaseBegan = mMoved = Clock::now();
    mPercent = std::max(mPercent, from);
    mShownPercent = -1;
    show(false);
}

void Progress::at(int percentOfPhase) {
    const std::lock_guard lock(mLock);
    const int percent = mFrom + (mTo - mFrom) * std::clamp(percentOfPhase, 0, 100) / 100;
    if (percent > mPercent) mMoved = Clock::now();
    mPercent = std::max(mPercent, percent);
    show(false);
}

void Progress::atBytes(uint64_t done, uint64_t total) {
    const std::lock_guard lock(mLock);
    if (mTotalBytes == 0) mFirstBytes = done;
    if (done > mBytes) mMoved = Clock::now();
    mBytes = std::max(mBytes, done);
    mTotalBytes = total;
    if (total != 0) {
        const int part = static_cast<int>(mBytes * static_cast<uint64_t>(mTo - mFrom) / total);
        mPercent = std::max(mPercent, mFrom + part);
    }
    show(false);
}

double Progress::bytesPerSecond() {
    const double passed = duration<double>(Clock::now() - mPhaseBegan).count();
    return passed <= 0 || mBytes <= mFirstBytes
               ? 0
               : static_cast<double>(mBytes - mFirstBytes) / passed;
}

ProgressState Progress::state(int waiting) {
    ProgressState state = {.phase = mPhase, .percent = mPercent, .waitingSeconds = waiting};
    if (mTotalBytes != 0) state.bytesPerSecond = bytesPerSecond();
    if (state.bytesPerSecond > 0) {
        state.secondsLeft = static_cast<double>(mTotalBytes - mBytes) / state.bytesPerSecond;
    }
    return state;
}

Json Progress::object(int waiting) {
    Json object = {{"phase", mPhase}, {"percent", mPercent}};
    if (mTotalBytes != 0) {
        const double rate = bytesPerSecond();
        object["bytes"] = mBytes;
        object["totalBytes"] = mTotalBytes;
        object["bytesPerSecond"] = static_cast<uint64_t>(rate);
        if (rate > 0) {
            object["secondsLeft"] =
                static_cast<uint64_t>(static_cast<double>(mTotalBytes - mBytes) / rate);
        }
    }
    if (waiting > 0) object["waitingSeconds"] = waiting;
    return object;
}

void Progress::show(bool alive) {
    const bool newPhase = mShownPercent < 0;
    const auto now = Clock::now();
    const auto sinceShown = now - mShown;
    const int waiting =
        now - mMoved >= seconds(1) ? static_cast<int>((now - mMoved) / seconds(1)) : 0;
    if (mTerminal) {
        if (!newPhase && sinceShown < kFrame) return;
        const size_t columns = terminalColumns();
        // A terminal that became narrower has wrapped the line: go back to its first row.
        const size_t rows = mOpenLine == 0 ? 0 : (mOpenLine - 1) / columns;
        const std::string line = progressLine(state(waiting), static_cast<int>(columns));
        say(fmt::format("\r{}{}\x1b[J", rows > 0 ? fmt::format("\x1b[{}A", rows) : "", line));
        mOpenLine = line.size();
    } else {
        const int step = mContext.json ? 1 : kLinePercent;
        const bool moved = newPhase || mPercent >= mShownPercent + step ||
                           (mPercent == 100 && mShownPercent != 100);
        if (!moved && !(alive && sinceShown >= kSign)) return;
        say((mContext.json ? toText(object(waiting)) : progressText(state(waiting))) + "\n");
    }
    mShown = now;
    mShownPercent = mPercent;
}

void Progress::tick() {
    Clock::time_point noticed;
    for (;;) {
        // A signal stays readable, so it is polled only until it has been seen.
        pollfd waits[] = {{mStop.get(), POLLIN, 0},
                          {mInterrupted ? -1 : mSignals.descriptor(), POLLIN, 0}};
        poll(waits, 2, static_cast<int>(kTick.count()));
        if (waits[0].revents != 0) return;
        if (waits[1].revents != 0) {
            mInterrupted = true;
            noticed = Clock::now();
        }
        const std::lock_guard lock(mLock);
        if (mInterrupted && Clock::now() - noticed >= kGrace) {
            if (mContext.json) {
                say(toText(errorJson(interrupted())) + "\n");
            } else {
                say((mOpenLine != 0 ? "\nwlc: " : "wlc: ") + printable(mInterruptedText) + "\n",
                    stderr);
            }
            _exit(kRefused);
        }
        if (!mPhase.empty()) show(true);
    }
}

void Progress::pause(milliseconds time) {
    pollfd wait = {mSignals.descriptor(), POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(time.count())) > 0) mInterrupted = true;
    throwIfInterrupted();
}

void Progress::throwIfInterrupted() {
    if (!mInterrupted) return;
    const std::lock_guard lock(mLock);
    throw interrupted();
}

}  // namespace wlc
