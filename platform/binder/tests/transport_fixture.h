// SPDX-License-Identifier: Apache-2.0
//
// An IEcho served in this process on a socket of its own, for clients in this process (each with a
// session over the socket), raw peers and other processes.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "echo.h"
#include "host/binder_host.h"
#include "listener.h"
#include "parcel.h"
#include "raw_peer.h"
#include "unix_socket.h"

namespace android::host::test {

// A pipe that takes nothing more.
struct FullPipe {
    FullPipe() {
        EXPECT_TRUE(base::Pipe(&reader, &writer, O_CLOEXEC | O_NONBLOCK));
        const Bytes page(4096);
        while (write(writer.get(), page.data(), page.size()) > 0) continue;
        (void)fcntl(writer.get(), F_SETFL, 0);
    }
    base::unique_fd reader;
    base::unique_fd writer;
};

class TransportTest : public ::testing::Test {
  protected:
    void SetUp() override {
        signal(SIGPIPE, SIG_IGN);  // as the service does
        // As the service: a first thread, two more of the runtime's.
        Reactor::get().setMaxThreads(2);
        Reactor::get().startPool();
        std::string folder = ::testing::TempDir() + "transport.XXXXXX";
        mFolder = mkdtemp(folder.data());
        mPath = mFolder + "/socket";
        mRoot = echo::makeServer(&mServer);
        mListener = std::make_shared<Listener>(listenUnix(mPath), mRoot.get(), 3);
        ASSERT_TRUE(Reactor::get().add(mListener));
    }

    void TearDown() override {
        mServer.setCallback({});
        stopListening();
        std::filesystem::remove_all(mFolder);
    }

    void stopListening() {
        std::weak_ptr<Listener> gone = mListener;
        if (mListener) Reactor::get().remove(*mListener);
        mListener.reset();
        // Sessions of clients that are gone let the root object go.
        EXPECT_TRUE(eventually([&] { return gone.expired(); }));
        EXPECT_TRUE(eventually([&] { return AIBinder_debugGetRefCount(mRoot.get()) == 1; }))
            << AIBinder_debugGetRefCount(mRoot.get()) << " references to the root object are left";
    }

    // A session of its own, with the class known.
    ndk::SpAIBinder connect() {
        ndk::SpAIBinder binder(connectService(mPath));
        EXPECT_TRUE(AIBinder_associateClass(binder.get(), echo::serverClass()));
        return binder;
    }

    // Another client can still call.
    void expectServed() {
        ndk::SpAIBinder binder = connect();
        int answer = 0;
        EXPECT_EQ(STATUS_OK, echo::ping(binder.get(), 7, &answer));
        EXPECT_EQ(8, answer);
    }

    RawPeer openRaw() {
        RawPeer peer(mPath);
        peer.open();
        peer.fetchRoot();
        return peer;
    }

    // Registers a new callback, which it gives.
    static ndk::SpAIBinder subscribe(
        const ndk::SpAIBinder& root, echo::OnCall on = [](int x) { return x; }) {
        ndk::SpAIBinder callback = echo::makeCallback(std::move(on));
        EXPECT_EQ(STATUS_OK,
                  echo::callWithBinder(root.get(), echo::kRegisterCallback, callback.get()));
        return callback;
    }
    // The first half of a registration by a raw peer; the server then asks for the descriptor.
    static void sendCallback(RawPeer& caller) {
        Bytes binder = int32(kObjectBinder);
        append(&binder, WireAddress{kAddressCreated, 0});
        append(&binder, static_cast<int32_t>(Stability::kVintf));
        caller.send(echoFrame(echo::kRegisterCallback, binder));
    }
    // The whole registration.
    static void subscribe(RawPeer& caller) {
        sendCallback(caller);
        const std::optional<RawFrame> question = caller.frame();
        ASSERT_TRUE(question);
        ASSERT_EQ(WireCommand::kTransact, question->command);
        const std::optional<RawFrame> reply = caller.ask(replyFrame(text("test.ICb")));
        ASSERT_TRUE(reply);
        ASSERT_EQ(WireCommand::kReply, reply->command);
        ASSERT_EQ(STATUS_OK, reply->replyStatus());
    }

    std::string mFolder;
    std::string mPath;
    echo::Server mServer;
    ndk::SpAIBinder mRoot;
    std::shared_ptr<Listener> mListener;
    const base::unique_fd mNull{open("/dev/null", O_WRONLY | O_CLOEXEC)};
};

}  // namespace android::host::test
