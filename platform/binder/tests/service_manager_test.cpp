// SPDX-License-Identifier: Apache-2.0
#include <android/binder_manager.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "testing/process.h"
#include "transport_fixture.h"

namespace android::host::test {
namespace {

namespace fs = std::filesystem;
using test_support::Process;

class ServiceManagerTest : public TransportTest {
  protected:
    void SetUp() override {
        TransportTest::SetUp();
        setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    }

    // A private folder in the run-time folder.
    std::string makeFolder(const std::string& name) {
        fs::create_directory(mFolder + name);
        fs::permissions(mFolder + name, fs::perms::owner_all);
        return mFolder + name;
    }
};

TEST_F(ServiceManagerTest, NamesAreServedOnceWhileTheirProcessLives) {
    constexpr char kName[] = "test.IEcho/default";
    EXPECT_EQ(nullptr, AServiceManager_checkService(kName));
    Process first({ECHO_PEER, "serve", kName});
    ASSERT_TRUE(first.waitForOutput("serving"));
    EXPECT_EQ(std::vector<std::string>{kName}, listServices());
    EXPECT_EQ(1, test_support::run({ECHO_PEER, "serve", kName}).exitStatus);
    ndk::SpAIBinder binder(AServiceManager_checkService(kName));
    EXPECT_EQ(STATUS_OK, AIBinder_ping(binder.get()));
    ndk::SpAIBinder again(AServiceManager_getService(kName));
    EXPECT_EQ(binder.get(), again.get());
    RawPeer peer(mFolder + "/binder/" + kName);
    peer.open();
    std::optional<RawFrame> threads =
        peer.ask(frameOf(Call{.address = kSessionAddress, .code = kGetMaxThreads}));
    ASSERT_TRUE(threads);
    EXPECT_EQ(toHex(int32(4)), toHex(threads->replyParcel())) << "at least so many may call";

    first.signal(SIGKILL);
    EXPECT_EQ(SIGKILL, first.wait().signal);
    EXPECT_TRUE(listServices().empty()) << "a crash leaves its socket";
}

// What another implementation serves has a socket at the documented place and no lock beside it.
TEST_F(ServiceManagerTest, ServersWithoutALockAreFoundWhileTheyListen) {
    constexpr char kName[] = "test.IEcho/foreign";
    makeFolder("/binder");
    fs::rename(mPath, makeFolder("/binder/test.IEcho") + "/foreign");
    EXPECT_EQ(std::vector<std::string>{kName}, listServices());
    EXPECT_EQ(STATUS_OK, AIBinder_ping(ndk::SpAIBinder(AServiceManager_checkService(kName)).get()));
    stopListening();
    EXPECT_TRUE(listServices().empty());
    EXPECT_EQ(nullptr, AServiceManager_checkService(kName));
}

TEST_F(ServiceManagerTest, NamesThatLeaveTheFolderAreRefused) {
    const ndk::SpAIBinder binder = echo::makeServer(&mServer);
    const auto add = [&](const std::string& name) {
        return AServiceManager_addService(binder.get(), name.c_str());
    };
    for (const char* name : {"", "/x", "x/", "a//b", "../x", "a/../../x", "a/.b", "a b", "a\n",
                             "x.lock", "caf\xc3\xa9"}) {
        EXPECT_EQ(EX_ILLEGAL_ARGUMENT, add(name)) << name;
        EXPECT_EQ(nullptr, AServiceManager_checkService(name)) << name;
    }
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, add(std::string(81, 'a')));
    const std::string folder = std::string(46, 'f') + "/";
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, add("f" + folder + std::string(80, 'a')));
    EXPECT_EQ(EX_NONE, add(folder + std::string(80, 'b')));
    AIBinder* none = nullptr;
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, AServiceManager_addService(none, "x"));
}

TEST_F(ServiceManagerTest, WhatIsNoSocketIsNeverRemoved) {
    const std::string file = makeFolder("/binder") + "/precious";
    std::ofstream(file) << "data";
    EXPECT_NE(EX_NONE, AServiceManager_addService(mRoot.get(), "precious"));
    EXPECT_EQ(4u, fs::file_size(file));
}

TEST_F(ServiceManagerTest, LongFoldersWork) {
    setenv("ANDROID_HOST_DIR", (mFolder + "/" + std::string(120, 'd')).c_str(), 1);
    Process server({ECHO_PEER, "serve", "deep/name"});
    ndk::SpAIBinder binder(AServiceManager_waitForService("deep/name"));
    EXPECT_EQ(STATUS_OK, AIBinder_ping(binder.get()));
}

}  // namespace
}  // namespace android::host::test
