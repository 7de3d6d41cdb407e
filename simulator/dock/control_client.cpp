// SPDX-License-Identifier: Apache-2.0
#include "control_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "commands.h"
#include "exchange_wire.h"

namespace virtual_dock {
namespace {

constexpr size_t kReadSize = 4096;

}  // namespace

ControlClient::ControlClient(int fd, VirtualDock* dock, const ExchangeServer* exchanges)
    : mFd(fd), mDock(dock), mExchanges(exchanges) {}

ControlClient::~ControlClient() {
    if (follows()) mDock->removeFollower();
}

short ControlClient::wantedEvents() const {
    if (!mOutput.empty()) return POLLOUT;
    return mInputEnded ? 0 : POLLIN;
}

void ControlClient::handle(short events) {
    if (events & (POLLIN | POLLHUP)) readInput();
    if (events & POLLERR) mFinished = true;
    do {
        writeOutput();
        if (!mFinished && mOutput.empty()) runLines();
        sendLog();
        writeOutput();
    } while (!mFinished && mOutput.empty() && mLogState == LogState::kUntil);
    const bool idle = mOutput.empty() && mLogState != LogState::kUntil;
    if ((events & POLLHUP) || (mInputEnded && idle)) mFinished = true;
}

void ControlClient::readInput() {
    std::array<char, kReadSize> bytes;
    while (!mInputEnded && mInput.size() <= kMaxLine) {
        const ssize_t count = recv(mFd.get(), bytes.data(), bytes.size(), 0);
        if (count > 0) {
            mInput.append(bytes.data(), static_cast<size_t>(count));
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        } else {
            mInputEnded = true;
        }
    }
}

void ControlClient::runLines() {
    size_t start = 0;
    while (!mFinished && mLogState == LogState::kNone && !mExchangeUevents &&
           mOutput.size() < kMaxBuffered) {
        const size_t end = mInput.find('\n', start);
        if (end == std::string::npos) break;
        runLine(std::string_view(mInput).substr(start, end - start));
        start = end + 1;
    }
    mInput.erase(0, start);
    if (mInput.size() > kMaxLine && mInput.find('\n') == std::string::npos) {
        reply(usageError("the line is too long"));
        writeOutput();
        mFinished = true;
    }
}

void ControlClient::runLine(std::string_view line) {
    mLastActive = std::chrono::steady_clock::now();
    if (line.starts_with("exchange ")) return openExchanges(line);
    if (!mDock->commandRefusal().empty()) return reply(refusal(mDock->commandRefusal()));
    if (line != "log" && line != "follow") {
        reply(runCommand(mDock, line));
        return;
    }
    if (line == "follow") {
        mNextEntry = mDock->addFollower() + 1;
        mLogState = LogState::kFollow;
        reply(doneReply());
        return;
    }
    mDock->withLog([this](const RequestLog& log) {
        mNextEntry = log.oldest();
        mLastEntry = log.newest();
    });
    mLogState = LogState::kUntil;
}

void ControlClient::openExchanges(std::string_view line) {
    const std::optional<std::string> uevents = wire::parseOpening(line);
    if (!uevents) {
        reply(usageError("this dock speaks version " + std::to_string(wire::kVersion) +
                         " of the exchange protocol"));
    } else if (mExchanges == nullptr) {
        reply(
            refusal("this dock lives in a service and serves that one only; start virtual-dock "
                    "before the services"));
    } else if (!mExchanges->hasRoom()) {
        reply(refusal("the dock serves " + std::to_string(ExchangeServer::kMaxConnections) +
                      " connections for exchanges already"));
    } else {
        reply(doneReply());
        mExchangeUevents = uevents;
    }
}

android::base::unique_fd ControlClient::releaseDescriptor() {
    mFinished = true;
    return std::move(mFd);
}

void ControlClient::sendLog() {
    while (mLogState != LogState::kNone && mOutput.size() < kMaxBuffered) {
        if (mLogState == LogState::kUntil && mNextEntry > mLastEntry) {
            mLogState = LogState::kNone;
            reply(doneReply());
            return;
        }
        LogEntry entry;
        uint64_t lost = 0;
        const bool found = mDock->withLog([&](const RequestLog& log) {
            if (mNextEntry < log.oldest()) {
                lost = log.oldest() - mNextEntry;
                mNextEntry = log.oldest();
            }
            if (mNextEntry > log.newest()) return false;
            entry = log.entry(mNextEntry);
            return true;
        });
        if (lost > 0) {
            reply(toLine({{"lost", lost}}));
        }
        if (!found) return;
        ++mNextEntry;
        reply(toLine(entryJson(entry)));
    }
}

void ControlClient::reply(std::string_view text) {
    mOutput += text;
    mOutput += '\n';
}

void ControlClient::writeOutput() {
    while (!mOutput.empty() && !mFinished) {
        const ssize_t count = send(mFd.get(), mOutput.data(), mOutput.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            mOutput.erase(0, static_cast<size_t>(count));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return;
        } else if (errno != EINTR) {
            mFinished = true;
        }
    }
}

}  // namespace virtual_dock
