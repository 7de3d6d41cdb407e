// SPDX-License-Identifier: Apache-2.0
//
// A client of the virtual dock's control socket, for tools and tests. docs/virtual-dock.md
// describes the lines that go over it.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

namespace virtual_dock {

// No dock can be reached, or it went away. The message says what to do.
class NoDock : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A connection to a virtual dock. Lines are without their line feed. One thread at a time.
class Connection {
  public:
    // Connects to the dock of this run-time folder, or to the control socket at `path`. Throws
    // NoDock.
    Connection();
    explicit Connection(const std::string& path);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Owned by the connection.
    int descriptor() const { return mFd; }

    // Blocks until the dock has taken the bytes. Throws NoDock when it closes the connection.
    void write(std::string_view bytes);
    void send(const std::string& line) { write(line + "\n"); }

    // Waits for a whole line. False when the limit passes first; a negative one never does. Throws
    // NoDock when the dock closes the connection.
    bool waitForLine(std::chrono::milliseconds limit);

    // The next line. Throws NoDock also when the dock is silent for that long.
    std::string receive(std::chrono::seconds limit = std::chrono::seconds(30));

    // Sends a line and returns the one that comes back.
    std::string ask(const std::string& line) {
        send(line);
        return receive();
    }

  private:
    const std::string mPath;
    int mFd = -1;
    std::string mInput;
};

}  // namespace virtual_dock
