// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>

#include <mutex>
#include <string>
#include <vector>

#include "../exchange.h"

namespace virtual_dock {

// A dock in another process, behind its control socket. Connections are made when they are needed
// and used again; each serves one exchange at a time. An exchange whose connection breaks fails
// with kReceiveFailed: the dock may have carried it out. Without a dock there, exchanges fail with
// kSendFailed, and the next one tries again. Blocks as long as the dock does.
class RemoteDock final : public Endpoint {
  public:
    // The dock's socket, and where this process gets uevents: a path, or "" for the kernel's.
    RemoteDock(std::string path, std::string uevents);

    // Whether a dock answers there; false with the reason. Keeps the connection.
    [[nodiscard]] bool connect(std::string* problem) EXCLUDES(mLock);

    // Starts a thread that keeps an idle connection to the dock and opens it again when a dock is
    // started anew, so that every dock knows where this process gets uevents. Call it once; this
    // object must then last until the process ends.
    void stayKnown();

    // A request of more than wire::kMaxRequest bytes fails with kInvalidArgument.
    Outcome exchange(const Exchange& exchange) override EXCLUDES(mLock);

  private:
    android::base::unique_fd takeConnection() EXCLUDES(mLock);
    android::base::unique_fd open(std::string* problem) const;
    [[noreturn]] void stayConnected() const;

    const std::string mPath;
    const std::string mUevents;
    std::mutex mLock;
    std::vector<android::base::unique_fd> mIdle GUARDED_BY(mLock);
};

}  // namespace virtual_dock
