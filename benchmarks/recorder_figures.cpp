// SPDX-License-Identifier: Apache-2.0
// What recording adds to a call of a closed library.
#include <dlfcn.h>
#include <stdlib.h>
#include <testing/charger_system.h>

#include <string>

#include "figures.h"
#include "process.h"
#include "protocol/chargelink.h"

namespace bench {
namespace {

// The calls of one libchargelink.so.
struct Calls {
    decltype(&::sendBidiRequest) bidi;
    decltype(&::sendWpcAuthRequest) auth;

    explicit Calls(const std::string& path) {
        void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) throw Trouble(dlerror());
        bidi = reinterpret_cast<decltype(bidi)>(dlsym(library, "sendBidiRequest"));
        auth = reinterpret_cast<decltype(auth)>(dlsym(library, "sendWpcAuthRequest"));
    }
    void fan() const {
        uint8_t area[256] = {0x0F, 0xF8};
        size_t length = sizeof(area);
        if (bidi(12, area, 2, area, &length) != 0) throw Trouble("a fan request fails");
    }
    void certificate() const {
        uint8_t area[2044] = {0x1A, 0x1C, 0, 0xFF};
        size_t length = sizeof(area);
        if (auth(0x1A, area, 4, area, &length, 1000) != 0) throw Trouble("a certificate fails");
    }
};

}  // namespace

void measureRecorder(const Run& run) {
    const OnCpu here(clientCpu());
    const test_support::ChargerSystem home;
    const std::string real = test_support::program("../lib/bench/libchargelink.so");
    setenv("CHARGELINK_REAL", real.c_str(), 1);
    setenv("CHARGELINK_TRACE", (home.folder() + "/trace").c_str(), 1);
    const Calls bare(real);
    const Calls recorded(test_support::program("../lib/recorder/libchargelink.so"));
    const auto compare = [&](const char* what, void (Calls::*call)() const) {
        constexpr int kLoops = 2000;
        const Pair pair = inTurns(
            run.pick(15, 7), [&] { return meanTime(kLoops, [&] { (recorded.*call)(); }); },
            [&] { return meanTime(kLoops, [&] { (bare.*call)(); }); });
        run.add(pairFigure(Judged::kBeyond, "recorder", what, "the library alone", "us", pair, 1000,
                           20));
    };
    compare("a recorded fan request", &Calls::fan);
    compare("a recorded certificate piece", &Calls::certificate);
}

}  // namespace bench
