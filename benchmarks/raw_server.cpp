// SPDX-License-Identifier: Apache-2.0
// raw_server PATH: listens on a Unix socket until it is killed. What starting and idling cost a C++
// program that owns a socket and nothing else.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <iostream>
#include <string>

int main(int argc, char** argv) {
    const std::string path = argc == 2 ? argv[1] : "";
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener, 16) != 0) {
        std::cerr << "usage: raw_server PATH; cannot listen at '" << path << "'\n";
        return 1;
    }
    for (;;) close(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
}
