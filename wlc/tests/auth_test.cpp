// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "service_fixture.h"

namespace wlc {
namespace {

using testing::HasSubstr;

const std::string kOtherRoot = std::string(CERTIFICATES) + "/other_root.pem";

class AuthTest : public ServiceTest {
  protected:
    void expectRefused(const std::string& line, const std::string& step, const std::string& why) {
        SCOPED_TRACE(line + ", expecting " + step);
        const Outcome text = wlc(line);
        EXPECT_EQ(1, text.exitStatus) << text.out;
        EXPECT_THAT(text.out, HasSubstr("FAIL  " + step));
        EXPECT_THAT(text.err, HasSubstr(why));
        EXPECT_EQ(std::string::npos, text.out.find("Believe"));
        const nlohmann::json json = wlcJson(line, 1);
        EXPECT_FALSE(json["authentic"]);
        EXPECT_EQ(step, json["steps"].back()["step"]);
        EXPECT_FALSE(json["steps"].back()["passed"]);
        EXPECT_THAT(json["error"]["message"].get<std::string>(), HasSubstr(why));
    }
};

TEST_F(AuthTest, RightDockIsBelievedInEverySlotWithItsRoot) {
    for (const std::string& line : {std::string("auth"), std::string("auth --slot 1"),
                                    "auth --slot 3 --root " + kOtherRoot}) {
        const Outcome text = wlc(line);
        EXPECT_EQ(0, text.exitStatus) << text.out << text.err;
        EXPECT_THAT(text.out, HasSubstr("Believe it: this dock is 0072-00000"));
    }
    const nlohmann::json json = wlcJson("auth");
    EXPECT_TRUE(json["authentic"]);
    EXPECT_EQ(6u, json["steps"].size());
    EXPECT_EQ("0072-000000", json["dock"]["subject"]);
}

TEST_F(AuthTest, WrongRootAndEmptySlotAreRefused) {
    expectRefused("auth --slot 3", "root", "the chain names another root");
    expectRefused("auth --root " + kOtherRoot, "root", "the chain names another root");
    expectRefused("auth --slot 2", "digests", "slot 2 holds no certificate chain");
}

TEST_F(AuthTest, SignatureThatIsNotForThisChallengeIsRefused) {
    for (const char* kind : {"replayed", "garbage"}) {
        // There has to be an earlier signature that can be replayed.
        dock("set auth.signature right");
        ASSERT_EQ(0, wlc("auth").exitStatus);
        dock(Words{"set", "auth.signature", kind});
        expectRefused("auth", "challenge", "signature is not the product unit's");
    }
    dock("set auth.signature wrong-slot");
    expectRefused("auth", "challenge", "do not believe this dock");
}

TEST_F(AuthTest, DockThatLiesOrFailsIsReportedNotBelieved) {
    for (const char* lie : {"cert.0.flip 300", "auth.claimed-length 500",
                            "auth.claimed-length 65535", "auth.claimed-length 0"}) {
        dock(std::string("set ") + lie);
        const Outcome text = wlc("auth");
        EXPECT_EQ(1, text.exitStatus) << lie << text.out;
        EXPECT_THAT(text.out, testing::Not(HasSubstr("Believe"))) << lie;
        dock("set cert.0.flip -1");
    }
    dock("set auth.claimed-length -1");
    dock("set auth.max-piece 1");
    EXPECT_EQ(0, wlc("auth").exitStatus) << "one byte at a time is slow, not wrong";
    dock("set auth.ready false");
    EXPECT_EQ(1, wlc("auth").exitStatus);
}

TEST_F(AuthTest, PartsOfTheExchangeCanBeHadAlone) {
    const std::string chain = wlcJson("auth certificate --slot 1")["certificate"];
    EXPECT_EQ(832u * 2, chain.size());
    EXPECT_EQ(chain.substr(600, 400),
              wlcJson("auth certificate --slot 1 --offset 300 --length 200")["certificate"]);
    const std::string nonce(32, '5');
    const nlohmann::json answer = wlcJson("auth challenge --slot 1 --nonce " + nonce);
    EXPECT_EQ(nonce, answer["nonce"]);
    EXPECT_EQ(64u, answer["signatureR"].get<std::string>().size());
    EXPECT_EQ(1, wlc("auth challenge --nonce 5555").exitStatus);
    const std::string path = file("chain", "");
    EXPECT_EQ(0, wlc("auth certificate --output " + path).exitStatus);
    EXPECT_EQ(1, wlc("auth certificate --output /nonexistent/x").exitStatus);
}

}  // namespace
}  // namespace wlc
