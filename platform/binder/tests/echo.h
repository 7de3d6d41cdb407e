// SPDX-License-Identifier: Apache-2.0
//
// The small interface of the transport tests, written by hand against the C API:
// IEcho { byte[] echo(byte[]); int ping(int); void registerCallback(ICb); void fire(int); }
// oneway ICb { void on(int); }, both with VINTF stability. ping returns x + 1; fire(n) calls the
// callback n times, fire(-1) and fire(-2) fail.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_stability.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace echo {

enum Code : transaction_code_t {
    kEcho = 1,
    kPing = 2,
    kRegisterCallback = 3,
    kFire = 4,
    // Beyond the interface of the captures: calls the callback object and waits for its answer.
    kAskBack = 5,
    // Waits until the test lets it go on.
    kBlock = 6,
    // Gives back the object it was given.
    kReturnObject = 7,
};

// What the object does, settable while it is called.
class Server {
  public:
    void onPing(std::function<void(int)> run) { set(&mOnPing, std::move(run)); }
    void onBlock(std::function<void()> run) { set(&mOnBlock, std::move(run)); }
    void setCallback(ndk::SpAIBinder callback) { set(&mCallback, std::move(callback)); }

    void ping(int x) { get(mOnPing)(x); }
    void block() { get(mOnBlock)(); }
    ndk::SpAIBinder callback() { return get(mCallback); }

  private:
    template <typename T>
    void set(T* member, T value) {
        std::lock_guard lock(mLock);
        std::swap(*member, value);
    }
    template <typename T>
    T get(const T& member) {
        std::lock_guard lock(mLock);
        return member;
    }

    std::mutex mLock;
    std::function<void(int)> mOnPing = [](int) {};
    std::function<void()> mOnBlock = [] {};
    ndk::SpAIBinder mCallback;
};

// An IEcho object; `server` must outlive it.
ndk::SpAIBinder makeServer(Server* server);

// An ICb object. `on` runs for every call; what it returns answers kAskBack.
using OnCall = std::function<int(int)>;
ndk::SpAIBinder makeCallback(OnCall on);

const AIBinder_Class* serverClass();
const AIBinder_Class* callbackClass();

// Calls. The binder's class must have been associated.
binder_status_t ping(AIBinder* binder, int x, int* result);
binder_status_t callOneway(AIBinder* binder, transaction_code_t code, int argument);
binder_status_t echo(AIBinder* binder, const std::vector<int8_t>& data,
                     std::vector<int8_t>* result);
binder_status_t callWithBinder(AIBinder* binder, Code code, AIBinder* argument,
                               ndk::SpAIBinder* result = nullptr);
binder_status_t callWithInt(AIBinder* binder, Code code, int argument, int* result = nullptr,
                            ndk::ScopedAStatus* answer = nullptr);

}  // namespace echo
