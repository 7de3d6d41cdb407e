// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "dock/control_server.h"
#include "dock_fixture.h"

namespace virtual_dock::testing {

// A dock of the test's own, served at <folder>/dock. Uevents go to a datagram socket of the test.
class ServedDock {
  public:
    ServedDock() {
        setenv("ANDROID_HOST_UEVENT_SOCKET", (folder / "uevents").c_str(), 1);
        std::string error;
        EXPECT_TRUE(mListener.open(path(), &error)) << error;
        mServer = std::make_unique<ControlServer>(&dock, &mListener);
        mThread = std::thread([this] { mServer->run(); });
    }
    ~ServedDock() {
        mServer->stop();
        mThread.join();
        close(mUevents);
        setenv("ANDROID_HOST_UEVENT_SOCKET", "/nonexistent/uevents", 1);
    }

    std::string path() const { return folder / "dock"; }

    // The SOURCE and DRIVER lines of the next uevent, joined by a space; "" when none comes in
    // time.
    std::string nextUevent(int limitMs = 20'000) {
        pollfd readable{mUevents, POLLIN, 0};
        if (poll(&readable, 1, limitMs) <= 0) return {};
        char bytes[2048];
        const ssize_t count = recv(mUevents, bytes, sizeof(bytes), 0);
        std::string lines;
        for (ssize_t at = 0; at < count; at += static_cast<ssize_t>(std::strlen(bytes + at)) + 1) {
            const std::string line = bytes + at;
            if (line.rfind("SOURCE=", 0) != 0 && line.rfind("DRIVER=", 0) != 0) continue;
            lines += (lines.empty() ? "" : " ") + line;
        }
        return lines;
    }

    TempFolder folder;
    VirtualDock dock;

  private:
    const int mUevents = boundSocket(folder / "uevents", SOCK_DGRAM);
    ControlListener mListener;
    std::unique_ptr<ControlServer> mServer;
    std::thread mThread;
};

}  // namespace virtual_dock::testing
