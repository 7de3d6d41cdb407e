// SPDX-License-Identifier: Apache-2.0

#include "service_fixture.h"

namespace wlc {
namespace {

using testing::Not;

const std::string kOtherRoot = std::string(CERTIFICATES) + "/other_root.pem";
const std::string kAuth = "auth --virtual-dock";

using AuthTest = ServiceTest;

TEST_F(AuthTest, GenuineOnlyAgainstTheRightRoot) {
    const std::string root = std::string(CERTIFICATES) + "/root.pem";
    for (const std::string& line : {kAuth, kAuth + " --slot 1", "auth --root " + root,
                                    "auth --slot 3 --root " + kOtherRoot}) {
        SCOPED_TRACE(line);
        const Outcome text = wlc(line);
        EXPECT_EQ(0, text.exitStatus) << text.out << text.err;
        EXPECT_THAT(text.out, HasSubstr("The dock is genuine: 0072-00000"));
        const bool isPublic = line.find("--virtual-dock") != std::string::npos;
        EXPECT_EQ(isPublic, text.out.find("private keys are public") != std::string::npos);
        nlohmann::json json = wlcJson(line);
        EXPECT_TRUE(json["authentic"]);
        EXPECT_EQ(6u, json["steps"].size());
        EXPECT_EQ(isPublic, json.value("keysArePublic", false));
    }
}

TEST_F(AuthTest, WithoutARootTheEvidenceIsShownAndNothingIsTrusted) {
    const Outcome text = wlc("auth");
    EXPECT_EQ(1, text.exitStatus);
    EXPECT_THAT(text.out, HasSubstr("ok    challenge"));
    EXPECT_THAT(text.out, HasSubstr("The dock claims to be 0072-000000"));
    EXPECT_THAT(text.out, Not(HasSubstr("genuine")));
    EXPECT_THAT(text.err, HasSubstr("nothing was trusted"));
    nlohmann::json json = wlcJson("auth", 1);
    EXPECT_FALSE(json["authentic"]);
    EXPECT_EQ("NOT_TRUSTED", json["error"]["name"]);
    EXPECT_EQ("0072-000000", json["dock"]["subject"]);
}

TEST_F(AuthTest, AnythingWrongFailsAtItsStep) {
    const struct {
        const char* dock;  // its settings for this case
        std::string line;
        const char* step;
        const char* why;
    } kCases[] = {
        {"auth.signature=replayed", kAuth, "challenge", "not made by the product unit"},
        {"auth.signature=garbage", "auth", "challenge", "not made by the product unit"},
        {"auth.signature=wrong-slot", kAuth, "challenge", "dock authentication failed"},
        {"auth.signature=right", "auth --root " + kOtherRoot, "root", "names a different root"},
        {"auth.signature=right", kAuth + " --slot 2", "digests", "slot 2 holds no certificate"},
        {"cert.0.flip=300", kAuth, "chain", "failed"},
        {"cert.0.flip=-1 auth.claimed-length=65535", kAuth, "chain", "failed"},
        {"auth.claimed-length=-1 auth.ready=false", kAuth, "readiness", "error 3 (REFUSED)"},
    };
    ASSERT_EQ(0, wlc(kAuth).exitStatus);  // its answer can be replayed
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.line + " with " + c.dock);
        dock(std::string("set ") + c.dock);
        const Outcome text = wlc(c.line);
        EXPECT_EQ(1, text.exitStatus);
        EXPECT_THAT(text.out, HasSubstr(std::string("FAIL  ") + c.step));
        EXPECT_THAT(text.out, Not(HasSubstr("genuine")));
        EXPECT_THAT(text.err, HasSubstr(c.why));
        nlohmann::json json = wlcJson(c.line, 1);
        EXPECT_FALSE(json["authentic"]);
        EXPECT_EQ(c.step, json["steps"].back()["step"]);
        EXPECT_FALSE(json["steps"].back()["passed"]);
        EXPECT_THAT(json["error"]["message"].get<std::string>(), HasSubstr(c.why));
    }
}

}  // namespace
}  // namespace wlc
