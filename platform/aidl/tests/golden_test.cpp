// SPDX-License-Identifier: Apache-2.0
// The generated text of a small interface, whole. After a change that is meant, write it anew with
// `cmake --build DIR --target aidl-update-golden` and read the difference.
#include <gtest/gtest.h>

#include <string>

#include "compile.h"

namespace aidlc {
namespace {

TEST(GoldenTest, GeneratedTextIsAsBefore) {
    const Outcome outcome = generate(readFolder(TESTS_FOLDER "/golden/input"),
                                     {"--version=2", "--hash=0123456789abcdef"});
    ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    ASSERT_EQ(outcome.files.size(), 10u);
    for (const auto& [path, text] : outcome.files) {
        const std::string expected = TESTS_FOLDER "/golden/output/" + path + ".expected";
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
