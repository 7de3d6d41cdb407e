// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include "charger_system.h"

namespace test_support {

// A test of a whole system. At the end a service that was started has to be alive still and to end
// when told to, no sanitizer may have reported anything, and no process may be left.
class SystemTest : public testing::Test {
  protected:
    explicit SystemTest(ChargerSystem::Uevents uevents = ChargerSystem::Uevents::kSocket)
        : system(uevents) {}
    void TearDown() override {
        EXPECT_EQ("", system.stopService());
        EXPECT_TRUE(hasNoChildren());
    }

    ChargerSystem system;
};

}  // namespace test_support
