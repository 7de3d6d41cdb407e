// SPDX-License-Identifier: Apache-2.0
//
// The inside of an AIBinder: objects of this process, and proxies for objects of others.
#pragma once

#include <android-base/thread_annotations.h>
#include <android/binder_ibinder.h>
#include <android/binder_shell.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "rpc_wire.h"

struct AIBinder_Class {
    AIBinder_Class(const char* descriptor, AIBinder_Class_onCreate create,
                   AIBinder_Class_onDestroy destroy, AIBinder_Class_onTransact transact);

    const std::string descriptor;
    const std::vector<uint8_t> token;  // the descriptor as a parcel begins with it
    const AIBinder_Class_onCreate onCreate;
    const AIBinder_Class_onDestroy onDestroy;
    const AIBinder_Class_onTransact onTransact;
    // Set right after definition, before the first object.
    AIBinder_onDump onDump = nullptr;
    AIBinder_handleShellCommand onShellCommand = nullptr;
};

// Counted by hand because C code holds references: the object is usable while it has strong
// references, its memory stays while it has weak ones. Born with one strong reference.
struct AIBinder {
  public:
    AIBinder(const AIBinder&) = delete;
    AIBinder& operator=(const AIBinder&) = delete;

    void incStrong() { mStrong.fetch_add(1, std::memory_order_relaxed); }
    void decStrong();
    bool tryIncStrong();
    void incWeak() { mWeak.fetch_add(1, std::memory_order_relaxed); }
    void decWeak();
    int32_t strongCount() const { return mStrong; }

    bool isRemote() const { return mIsRemote; }
    const AIBinder_Class* clazz() const { return mClass; }
    virtual int32_t stability() const = 0;

    // Calls the object. Consumes nothing; `out` is empty on entry and, for calls that succeed, at
    // position 0 on return.
    virtual binder_status_t transact(transaction_code_t code, AParcel& in, AParcel& out,
                                     binder_flags_t flags) = 0;

  protected:
    AIBinder(bool isRemote, const AIBinder_Class* clazz) : mIsRemote(isRemote), mClass(clazz) {}
    virtual ~AIBinder() = default;
    virtual void onLastStrong() = 0;

    const bool mIsRemote;
    std::atomic<const AIBinder_Class*> mClass;

  private:
    std::atomic<int32_t> mStrong{1};
    std::atomic<int32_t> mWeak{1};  // all strong references together hold one
};

namespace android::host {

// A recipient linked to an object. Known to both; whichever goes first ends it.
class DeathLink {
  public:
    DeathLink(const AIBinder_DeathRecipient& recipient, void* cookie);

    bool isOf(const AIBinder_DeathRecipient* recipient, void* cookie) const {
        return mRecipient == recipient && mCookie == cookie;
    }
    bool isOver() const { return mIsOver; }

    // Ends the link: the cookie is given back, once. Without locks.
    void end();
    // Tells the death, unless the link is over, and ends it.
    void tellDeath();

  private:
    const AIBinder_DeathRecipient* const mRecipient;  // compared only
    void* const mCookie;
    const AIBinder_DeathRecipient_onBinderDied mOnDied;
    const AIBinder_DeathRecipient_onBinderUnlinked mOnUnlinked;
    std::atomic<bool> mIsOver{false};
};

}  // namespace android::host

struct AIBinder_DeathRecipient {
  public:
    explicit AIBinder_DeathRecipient(AIBinder_DeathRecipient_onBinderDied died) : onDied(died) {}
    // Ends all its links.
    ~AIBinder_DeathRecipient();

    std::shared_ptr<android::host::DeathLink> makeLink(void* cookie) EXCLUDES(mLock);

    const AIBinder_DeathRecipient_onBinderDied onDied;
    AIBinder_DeathRecipient_onBinderUnlinked onUnlinked = nullptr;  // set before the first link

  private:
    std::mutex mLock;
    std::vector<std::shared_ptr<android::host::DeathLink>> mLinks GUARDED_BY(mLock);
    size_t mForgetAt GUARDED_BY(mLock) = 16;  // links, when those that are over are forgotten
};

namespace android::host {

class Session;

class LocalBinder final : public AIBinder {
  public:
    LocalBinder(const AIBinder_Class* clazz, void* args);

    void* userData() const { return mUserData; }
    int32_t stability() const override { return static_cast<int32_t>(mStability.load()); }
    void markVintf() { mStability = Stability::kVintf; }

    // Runs a method, or one of the codes that every object answers, in the calling thread.
    binder_status_t transact(transaction_code_t code, AParcel& in, AParcel& out,
                             binder_flags_t flags) override;

  private:
    ~LocalBinder() override = default;
    void onLastStrong() override;

    binder_status_t runDump(const AParcel& in);
    binder_status_t runShellCommand(const AParcel& in);
    binder_status_t runMethod(transaction_code_t code, const AParcel& in, AParcel& out);

    void* const mUserData;
    std::atomic<Stability> mStability{Stability::kSystem};
};

class ProxyBinder final : public AIBinder {
  public:
    ProxyBinder(std::shared_ptr<Session> session, WireAddress address, int32_t stability);

    Session& session() const { return *mSession; }
    WireAddress address() const { return mAddress; }
    int32_t stability() const override { return mStability; }

    binder_status_t transact(transaction_code_t code, AParcel& in, AParcel& out,
                             binder_flags_t flags) override;

    // Asks the object for its descriptor on first use. False when it does not answer or when it is
    // of another interface.
    bool associate(const AIBinder_Class* clazz) EXCLUDES(mLock);

    binder_status_t link(const std::shared_ptr<DeathLink>& link) EXCLUDES(mLock);
    binder_status_t unlink(const AIBinder_DeathRecipient* recipient, void* cookie) EXCLUDES(mLock);
    bool hasDeathLinks() EXCLUDES(mLock);

    // Tells every recipient, once. Called by a pool thread without locks.
    void tellDeath() EXCLUDES(mLock);

  private:
    ~ProxyBinder() override = default;
    void onLastStrong() override;

    const std::shared_ptr<Session> mSession;
    const WireAddress mAddress;
    const int32_t mStability;
    std::mutex mLock;
    std::string mDescriptor GUARDED_BY(mLock);  // empty until asked for
    bool mDeathTold GUARDED_BY(mLock) = false;
    std::vector<std::shared_ptr<DeathLink>> mDeathLinks GUARDED_BY(mLock);
};

// Who makes the call that the current thread is serving.
struct Caller {
    uid_t uid;
    pid_t pid;
};

}  // namespace android::host
