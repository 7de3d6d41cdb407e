// SPDX-License-Identifier: Apache-2.0
#include <android/binder_manager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "echo.h"
#include "host/binder_host.h"
#include "listener.h"
#include "raw_peer.h"
#include "testing/process.h"
#include "unix_socket.h"

namespace android::host::test {
namespace {

namespace fs = std::filesystem;
using test_support::Process;

class ServiceManagerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string folder = ::testing::TempDir() + "manager.XXXXXX";
        mFolder = mkdtemp(folder.data());
        setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    }
    void TearDown() override { fs::remove_all(mFolder); }

    // A private folder in the run-time folder.
    std::string makeFolder(const std::string& name) {
        fs::create_directory(mFolder + name);
        fs::permissions(mFolder + name, fs::perms::owner_all);
        return mFolder + name;
    }

    std::string mFolder;
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

    first.signal(SIGKILL);
    EXPECT_EQ(SIGKILL, first.wait().signal);
    EXPECT_TRUE(fs::exists(mFolder + "/binder/test.IEcho/default")) << "a crash leaves its socket";
    EXPECT_TRUE(listServices().empty());
    Process successor({ECHO_PEER, "serve", kName});
    EXPECT_TRUE(successor.waitForOutput("serving"));
    ndk::SpAIBinder next(AServiceManager_waitForService(kName));
    EXPECT_EQ(STATUS_OK, AIBinder_ping(next.get()));
}

// What another implementation serves has a socket at the documented place and no lock beside it.
TEST_F(ServiceManagerTest, ServersWithoutALockAreFoundWhileTheyListen) {
    constexpr char kName[] = "test.IEcho/foreign";
    const std::string path = mFolder + "/binder/" + kName;
    makeFolder("/binder");
    makeFolder("/binder/test.IEcho");
    echo::Server server;
    ndk::SpAIBinder binder = echo::makeServer(&server);
    auto listener = std::make_shared<Listener>(listenUnix(path), binder.get());
    ASSERT_TRUE(Reactor::get().add(listener));
    Reactor::get().startPool();
    EXPECT_EQ(std::vector<std::string>{kName}, listServices());
    {
        ndk::SpAIBinder found(AServiceManager_checkService(kName));
        EXPECT_EQ(STATUS_OK, AIBinder_ping(found.get()));
    }
    Reactor::get().remove(*listener);
    std::weak_ptr<Listener> gone = listener;
    listener.reset();
    EXPECT_TRUE(eventually([&] { return gone.expired(); }));
    EXPECT_TRUE(listServices().empty());
    EXPECT_EQ(nullptr, AServiceManager_checkService(kName));
    EXPECT_TRUE(eventually([&] { return AIBinder_debugGetRefCount(binder.get()) == 1; }));
}

TEST_F(ServiceManagerTest, AtLeastFourThreadsOfAClientMayCallAtOnce) {
    Process server({ECHO_PEER, "serve", "test.IEcho/many"});
    ASSERT_TRUE(server.waitForOutput("serving"));
    RawPeer peer(mFolder + "/binder/test.IEcho/many");
    peer.open();
    peer.send(frameOf(Call{.address = kSessionAddress, .code = kGetMaxThreads}));
    std::optional<RawFrame> reply = peer.frame();
    ASSERT_TRUE(reply);
    const Bytes threads = reply->replyParcel();
    ASSERT_EQ(4u, threads.size());
    EXPECT_GE(threads[0], 4);
}

TEST_F(ServiceManagerTest, NamesThatLeaveTheFolderAreRefused) {
    echo::Server server;
    ndk::SpAIBinder binder = echo::makeServer(&server);
    for (const char* name : {"", "/x", "x/", "a//b", "../x", "a/../../x", "a/.b", "a b", "a\n",
                             "x.lock", "caf\xc3\xa9"}) {
        EXPECT_EQ(EX_ILLEGAL_ARGUMENT, AServiceManager_addService(binder.get(), name)) << name;
        EXPECT_EQ(nullptr, AServiceManager_checkService(name)) << name;
    }
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT,
              AServiceManager_addService(binder.get(), std::string(81, 'a').c_str()));
    const std::string folder = std::string(46, 'f') + "/";
    EXPECT_EQ(
        EX_ILLEGAL_ARGUMENT,
        AServiceManager_addService(binder.get(), ("f" + folder + std::string(80, 'a')).c_str()));
    EXPECT_EQ(EX_NONE,
              AServiceManager_addService(binder.get(), (folder + std::string(80, 'b')).c_str()));
    AIBinder* none = nullptr;
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, AServiceManager_addService(none, "x"));
}

TEST_F(ServiceManagerTest, WhatIsNoSocketIsNeverRemoved) {
    const std::string file = makeFolder("/binder") + "/precious";
    std::ofstream(file) << "data";
    echo::Server server;
    ndk::SpAIBinder binder = echo::makeServer(&server);
    EXPECT_NE(EX_NONE, AServiceManager_addService(binder.get(), "precious"));
    EXPECT_EQ(4u, fs::file_size(file));
}

TEST_F(ServiceManagerTest, LongFoldersWorkAndOpenFoldersDoNot) {
    std::string deep = mFolder + "/" + std::string(120, 'd');
    setenv("ANDROID_HOST_DIR", deep.c_str(), 1);
    Process server({ECHO_PEER, "serve", "deep/name"});
    ASSERT_TRUE(server.waitForOutput("serving"));
    ndk::SpAIBinder binder(AServiceManager_checkService("deep/name"));
    EXPECT_EQ(STATUS_OK, AIBinder_ping(binder.get()));

    fs::permissions(deep, fs::perms::others_read, fs::perm_options::add);
    EXPECT_EQ(1, test_support::run({ECHO_PEER, "serve", "deep/other"}).exitStatus);
}

}  // namespace
}  // namespace android::host::test
