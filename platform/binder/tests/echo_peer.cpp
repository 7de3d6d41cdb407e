// SPDX-License-Identifier: Apache-2.0
//
// The other process of the transport tests: `echo_peer MODE ARGUMENT`. It waits to be
// killed when it has done what its mode says.
//   serve NAME  registers an IEcho service under the name and writes "serving"
//   call PATH   registers a callback at the service at the socket and calls "block"
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include "echo.h"
#include "host/binder_host.h"

namespace {

int serve(const char* name) {
    static echo::Server server;
    ndk::SpAIBinder binder = echo::makeServer(&server);
    ABinderProcess_setThreadPoolMaxThreadCount(2);
    if (AServiceManager_addService(binder.get(), name) != EX_NONE) return 1;
    ABinderProcess_startThreadPool();
    puts("serving");
    fflush(stdout);
    ABinderProcess_joinThreadPool();
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    if (std::string(argv[1]) == "serve") return serve(argv[2]);

    ndk::SpAIBinder binder(android::host::connectService(argv[2]));
    if (!AIBinder_associateClass(binder.get(), echo::serverClass())) return 1;
    ndk::SpAIBinder callback = echo::makeCallback([](int x) { return x; });
    if (echo::callWithBinder(binder.get(), echo::kRegisterCallback, callback.get()) != STATUS_OK) {
        return 1;
    }
    (void)echo::callWithInt(binder.get(), echo::kBlock, 0);
    pause();
}
