// SPDX-License-Identifier: Apache-2.0
#include "signals.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <stdexcept>

namespace wlc {
namespace {

sigset_t interrupts() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

}  // namespace

Signals::Signals() {
    const sigset_t set = interrupts();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    mDescriptor.set(signalfd(-1, &set, SFD_CLOEXEC));
    if (mDescriptor.get() < 0) throw std::runtime_error("cannot create a signal descriptor");
}

// Signals that were handled are consumed first, so that they do not kill the process now.
Signals::~Signals() {
    while (came()) {
        signalfd_siginfo info;
        if (::read(mDescriptor.get(), &info, sizeof(info)) != sizeof(info)) break;
    }
    const sigset_t set = interrupts();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

bool Signals::came() const {
    pollfd wait = {mDescriptor.get(), POLLIN, 0};
    return poll(&wait, 1, 0) > 0;
}

}  // namespace wlc
