// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace dockctl {

// No dock can be reached, or it went away.
class NoDock : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A connection to the virtual dock of this run-time folder. Lines are without their line feed.
class Connection {
  public:
    // Throws NoDock with a message that says what to do.
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Throw NoDock when the dock closes the connection or, with a limit, is silent for so long.
    void send(const std::string& line);
    std::string receive(int limitSeconds = 30);  // 0: no limit

  private:
    int mFd = -1;
    std::string mPath;
    std::string mInput;
};

}  // namespace dockctl
