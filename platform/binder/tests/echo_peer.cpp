// SPDX-License-Identifier: Apache-2.0
//
// The other process of the transport tests: `echo_peer MODE ARGUMENT`. It writes a line to standard
// output when it has done what its mode says, and then waits to be killed.
//   serve NAME      registers an IEcho service under the name
//   call PATH       calls "block" on the service at the socket
//   subscribe PATH  registers a callback there
//   watch NAME      links to the death of the service; a second line tells of it
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include "echo.h"
#include "host/binder_host.h"

namespace {

void say(const char* text) {
    puts(text);
    fflush(stdout);
}

int serve(const char* name) {
    static echo::Server server;
    ndk::SpAIBinder binder = echo::makeServer(&server);
    ABinderProcess_setThreadPoolMaxThreadCount(2);
    if (AServiceManager_addService(binder.get(), name) != EX_NONE) return 1;
    ABinderProcess_startThreadPool();
    say("serving");
    ABinderProcess_joinThreadPool();
    return 1;
}

int watch(const char* name) {
    ndk::SpAIBinder binder(AServiceManager_waitForService(name));
    ndk::ScopedAIBinder_DeathRecipient recipient(
        AIBinder_DeathRecipient_new([](void*) { say("died"); }));
    if (AIBinder_linkToDeath(binder.get(), recipient.get(), nullptr) != STATUS_OK) return 1;
    say("linked");
    ABinderProcess_joinThreadPool();
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    std::string mode = argv[1];
    if (mode == "serve") return serve(argv[2]);
    if (mode == "watch") return watch(argv[2]);

    ndk::SpAIBinder binder(android::host::connectService(argv[2]));
    if (!AIBinder_associateClass(binder.get(), echo::serverClass())) return 1;
    ndk::SpAIBinder callback = echo::makeCallback([](int x) { return x; });
    if (echo::callWithBinder(binder.get(), echo::kRegisterCallback, callback.get()) != STATUS_OK) {
        return 1;
    }
    say("connected");
    if (mode == "call") (void)echo::callWithInt(binder.get(), echo::kBlock, 0);
    pause();
}
