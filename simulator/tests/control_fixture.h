// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "dock/control_server.h"

namespace virtual_dock::testing {

constexpr int kLimitMs = 20'000;

// A private folder that goes away with the test.
class TempFolder {
  public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "dock-XXXXXX").string();
        mPath = mkdtemp(pattern.data());
    }
    ~TempFolder() { std::filesystem::remove_all(mPath); }
    std::string operator/(const std::string& name) const { return mPath + "/" + name; }
    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

// A socket of AF_UNIX after bind() or connect() with a path.
inline int unixSocket(const std::string& path, int type,
                      int (*attach)(int, const sockaddr*, socklen_t)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    EXPECT_EQ(attach(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}
inline int boundSocket(const std::string& path, int type) {
    return unixSocket(path, type, ::bind);
}

// A raw connection to a control socket.
class RawClient {
  public:
    explicit RawClient(const std::string& path) : mFd(unixSocket(path, SOCK_STREAM, ::connect)) {}
    ~RawClient() { close(mFd); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    int descriptor() const { return mFd; }

    // False when the other side has closed.
    bool send(const std::string& bytes) {
        return ::send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    void endInput() { shutdown(mFd, SHUT_WR); }

    // The next line, or "" when the connection ended or nothing came in time.
    std::string readLine() {
        for (;;) {
            const size_t end = mInput.find('\n');
            if (end != std::string::npos) {
                std::string line = mInput.substr(0, end);
                mInput.erase(0, end + 1);
                return line;
            }
            pollfd readable{mFd, POLLIN, 0};
            if (poll(&readable, 1, kLimitMs) <= 0) return {};
            char bytes[4096];
            const ssize_t count = recv(mFd, bytes, sizeof(bytes), 0);
            if (count <= 0) return {};
            mInput.append(bytes, static_cast<size_t>(count));
        }
    }
    std::string ask(const std::string& line) {
        send(line + "\n");
        return readLine();
    }

  private:
    const int mFd;
    std::string mInput;
};

// A dock of the test's own, served at <folder>/dock. Uevents go to a datagram socket of the test.
class ServedDock {
  public:
    ServedDock() {
        mUevents = boundSocket(folder / "uevents", SOCK_DGRAM);
        setenv("ANDROID_HOST_UEVENT_SOCKET", (folder / "uevents").c_str(), 1);
        std::string error;
        EXPECT_TRUE(listener.open(path(), &error)) << error;
        server = std::make_unique<ControlServer>(&dock, &listener);
        mThread = std::thread([this] { server->run(); });
    }
    ~ServedDock() {
        server->stop();
        mThread.join();
        close(mUevents);
        unsetenv("ANDROID_HOST_UEVENT_SOCKET");
    }

    std::string path() const { return folder / "dock"; }

    // The SOURCE and DRIVER lines of the next uevent, joined by a space.
    std::string nextUevent() {
        pollfd readable{mUevents, POLLIN, 0};
        if (poll(&readable, 1, kLimitMs) <= 0) return "no uevent";
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
    bool hasUevent() {
        pollfd readable{mUevents, POLLIN, 0};
        return poll(&readable, 1, 0) > 0;
    }

    TempFolder folder;
    VirtualDock dock;
    ControlListener listener;
    std::unique_ptr<ControlServer> server;

  private:
    int mUevents;
    std::thread mThread;
};

}  // namespace virtual_dock::testing
