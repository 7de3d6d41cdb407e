// SPDX-License-Identifier: Apache-2.0
/* What the tests of the service share: a service on the fake libraries, without an event thread. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "WirelessCharger.h"
#include "fake_protocol.h"
#include "test_environment.h"

namespace aidl::vendor::zorvak::wireless_charger {

using W = WirelessCharger;

using fake::Bytes;
using fake::hex;
using fake::protocol;
using fake::Sent;
using testing::ElementsAre;
using testing::IsEmpty;

/** 0 for success, the service-specific error, or -1 for an error of another kind. */
inline int errorOf(const ndk::ScopedAStatus& status) {
    if (status.isOk()) return 0;
    return status.getExceptionCode() == EX_SERVICE_SPECIFIC ? status.getServiceSpecificError() : -1;
}

class ChargerTest : public testing::Test {
  protected:
    ChargerTest() { fake::reset(); }

    void shell(std::vector<const char*> args) {
        EXPECT_EQ(charger->handleShellCommand(-1, -1, -1, args.data(),
                                              static_cast<uint32_t>(args.size())),
                  STATUS_OK);
    }

    void chargingOff() {
        int off = 1;
        charger->wlcCallback(off);
    }

    void answer(const char* bytes) { fake::answerAll({.bytes = hex(bytes)}); }

    /** The error of a method, and what it answers. */
    template <typename... Parameters, typename... Arguments>
    auto call(ndk::ScopedAStatus (WirelessCharger::*method)(Parameters...),
              Arguments... arguments) {
        using Out = std::tuple_element_t<sizeof...(Arguments), std::tuple<Parameters...>>;
        std::remove_pointer_t<Out> out{};
        const int error = errorOf((charger.get()->*method)(arguments..., &out));
        return std::pair(error, out);
    }
    /** What a method answers; fails the test when it fails. */
    auto ask(auto method, auto... arguments) {
        const auto [error, out] = call(method, arguments...);
        EXPECT_EQ(error, 0);
        return out;
    }

    /** The state report. */
    std::string dump(std::vector<const char*> args = {}) {
        FILE* file = tmpfile();
        EXPECT_EQ(charger->dump(fileno(file), args.data(), static_cast<uint32_t>(args.size())),
                  STATUS_OK);
        rewind(file);
        std::string text(20000, '\0');
        text.resize(fread(text.data(), 1, text.size(), file));
        fclose(file);
        return text;
    }

    const std::shared_ptr<WirelessCharger> charger = ndk::SharedRefBase::make<WirelessCharger>();
};

}  // namespace aidl::vendor::zorvak::wireless_charger
