// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include "command_line.h"

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    return wlc::run(argc, argv);
}
