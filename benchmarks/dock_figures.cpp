// SPDX-License-Identifier: Apache-2.0
// What a library's call costs when the dock is a process of its own.
#include <dlfcn.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <testing/charger_system.h>

#include <string>

#include "figures.h"
#include "process.h"
#include "protocol/chargelink.h"
#include "raw_peer.h"

namespace bench {

void measureDock(const Run& run) {
    const test_support::ChargerSystem home;
    const std::string socket = home.folder() + "/dock";
    test_support::Process dock({test_support::program("virtual-dock")});
    if (!dock.waitForError("listening")) throw Trouble("virtual-dock does not start");
    const OnCpu there(serverCpu(), dock.pid());
    const OnCpu here(clientCpu());

    void* const library =
        dlopen(test_support::program("../lib/libchargelink.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw Trouble(dlerror());
    const auto init = reinterpret_cast<decltype(&initWlcProto)>(dlsym(library, "initWlcProto"));
    const auto ask = reinterpret_cast<decltype(&getWlcInfo)>(dlsym(library, "getWlcInfo"));
    setenv("VIRTUAL_DOCK", socket.c_str(), 1);
    const int started = init();
    unsetenv("VIRTUAL_DOCK");
    const auto call = [&] {
        uint32_t value = 0;
        if (ask(6, &value) != 0) throw Trouble("getWlcInfo fails");
    };
    if (started != 0) throw Trouble("initWlcProto fails");
    call();
    // The connection's thread was made on the dock's processor, where it stays.
    PingPong raw({.request = 20, .reply = 12}, serverCpu());
    constexpr int kCalls = 2000;
    const Pair pair = inTurns(
        run.pick(25, 9), [&] { return meanTime(kCalls, call); },
        [&] { return meanTime(kCalls, [&] { raw.call(); }); });
    Figure figure =
        ratioFigure("dock", "an exchange through a dock process", raw.describe(), 1.3, pair);
    figure.note = "the model's own time included";
    run.add(figure);
}

}  // namespace bench
