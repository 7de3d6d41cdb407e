// SPDX-License-Identifier: Apache-2.0
// The generated text of a record, an enum and an interface. After a change that is meant, write it
// anew with `cmake --build DIR --target aidl-update-golden` and read the difference.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "compile.h"

namespace aidlc {
namespace {

TEST(GoldenTest, GeneratedTextIsAsBefore) {
    const Outcome outcome = generate(readFolder(TESTS_FOLDER "/sample"));
    ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    for (const char* name : {"Small.h", "Small.cpp", "Mode.h", "Mode.cpp", "ISilent.h",
                             "ISilent.cpp", "BnSilent.h", "BpSilent.h"}) {
        const bool isHeader = std::string(name).ends_with(".h");
        const std::string text = outcome.files.at(
            (isHeader ? "include/aidl/test/sample/" : "src/test/sample/") + std::string(name));
        const std::string expected = std::string(TESTS_FOLDER "/golden/") + name + ".expected";
        DiskIo disk;
        std::string why;
        if (getenv("AIDL_UPDATE_GOLDEN") != nullptr) {
            ASSERT_TRUE(disk.write(expected, text, &why)) << why;
        }
        EXPECT_EQ(disk.read(expected, &why).value_or("(no such file)"), text) << expected;
    }
}

}  // namespace
}  // namespace aidlc
