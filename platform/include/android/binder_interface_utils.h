// SPDX-License-Identifier: Apache-2.0
//
// The base classes of interfaces: ICInterface <- IFoo <- BnCInterface<IFoo> <- BnFoo for objects
// that live here, ICInterface <- IFoo <- BpCInterface<IFoo> <- BpFoo for proxies of objects
// elsewhere.
//
// Ownership. Implementations and proxies are held by std::shared_ptr. An implementation and its
// binder object are made at different times: the binder keeps the implementation alive, the
// implementation knows its binder only weakly, so either may be what the last owner holds.
//
// Threads. All functions may be called from any thread.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_shell.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

namespace ndk {

// An object that knows its own std::shared_ptr. To be made with make(), never on the stack, as a
// member or by std::make_shared: an object destroyed without or before its owner aborts the
// process.
class SharedRefBase {
  public:
    SharedRefBase() = default;
    SharedRefBase(const SharedRefBase&) = delete;
    SharedRefBase& operator=(const SharedRefBase&) = delete;

    virtual ~SharedRefBase() {
        std::call_once(mOnce, [] { fail("destroyed, but never held by a shared_ptr"); });
        if (!mThis.expired()) fail("destroyed, but still held by a shared_ptr");
    }

    // A pointer to this object that keeps it alive. Null inside its destructor.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> self;
        std::call_once(mOnce, [&] {
            self = std::shared_ptr<SharedRefBase>(this);
            mThis = self;
        });
        return self != nullptr ? self : mThis.lock();
    }

    // The same as a pointer to the derived class CHILD, which the object must be.
    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    // A new T, made from `args`.
    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* object = new T(std::forward<Args>(args)...);
        return object->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    // Private, so that only make() can allocate.
    static void* operator new(size_t size) {
        void* p = std::malloc(size);
        if (p == nullptr) fail("out of memory");
        return p;
    }

    [[noreturn]] static void fail(const char* what) {
        std::fprintf(stderr, "ndk::SharedRefBase: %s\n", what);
        std::abort();
    }

    std::once_flag mOnce;
    std::weak_ptr<SharedRefBase> mThis;  // written once under mOnce, then only read
};

// The base of every interface.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() = default;
    ~ICInterface() override = default;

    // The binder object to hand to others.
    virtual SpAIBinder asBinder() = 0;

    // True when calls go to another process.
    virtual bool isRemote() = 0;

    // Writes a report to `fd`, which stays the caller's; `args` are numArgs NUL-terminated texts.
    // Here it writes nothing. On a proxy it asks the object and blocks until that has finished.
    virtual inline binder_status_t dump(int fd, const char** args, uint32_t numArgs);

    // Runs a shell command; descriptors and texts stay the caller's. Here it does nothing and
    // succeeds.
    virtual inline binder_status_t handleShellCommand(int in, int out, int err, const char** args,
                                                      uint32_t numArgs);

    // The implementation behind a local object of an interface, with the type ICInterface. Null for
    // a proxy, for null, and for an object without user data. The object's class must have been
    // made by defineClass, which AIBinder_associateClass with such a class ensures.
    static inline std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

    // The class of an interface, for a static initialiser of generated code: objects made with it
    // take an ICInterface* as their args, keep it alive, and pass dumps and shell commands on to
    // it. The names of the methods, which stubs of the platform's compiler add, are not used here.
    static inline AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                              AIBinder_Class_onTransact onTransact,
                                              const char** codeToFunction = nullptr,
                                              size_t functionCount = 0);

  private:
    // The user data of a local object.
    struct ICInterfaceData {
        std::shared_ptr<ICInterface> interface;

        static inline const std::shared_ptr<ICInterface>* find(AIBinder* binder);
        static inline void* onCreate(void* args);
        static inline void onDestroy(void* userData);
        static inline binder_status_t onDump(AIBinder* binder, int fd, const char** args,
                                             uint32_t numArgs);
        static inline binder_status_t handleShellCommand(AIBinder* binder, int in, int out, int err,
                                                         const char** argv, uint32_t argc);
    };
};

// The base of implementations. The generated BnFoo derives from it; services derive from that.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() = default;
    ~BnCInterface() override = default;

    // The same binder object as long as it has references, made at the first call.
    SpAIBinder asBinder() override;

    bool isRemote() override { return false; }

  protected:
    // Makes a new binder object for this implementation. Called under a lock of this object.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;
    ScopedAIBinder_Weak mWeakBinder GUARDED_BY(mMutex);
};

// The base of proxies. The generated BpFoo derives from it.
template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : mBinder(binder) {}
    ~BpCInterface() override = default;

    SpAIBinder asBinder() final { return mBinder; }

    // As asBinder, without counting.
    const SpAIBinder& asBinderReference() { return mBinder; }

    bool isRemote() override { return AIBinder_isRemote(mBinder.get()); }

    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        return AIBinder_dump(mBinder.get(), fd, args, numArgs);
    }

  private:
    const SpAIBinder mBinder;
};

// ---- Implementation ---------------------------------------------------------------------------

inline binder_status_t ICInterface::dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
    return STATUS_OK;
}

inline binder_status_t ICInterface::handleShellCommand(int /*in*/, int /*out*/, int /*err*/,
                                                       const char** /*args*/,
                                                       uint32_t /*numArgs*/) {
    return STATUS_OK;
}

inline std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    const std::shared_ptr<ICInterface>* interface = ICInterfaceData::find(binder);
    return interface == nullptr ? nullptr : *interface;
}

inline AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                                AIBinder_Class_onTransact onTransact,
                                                const char** /*codeToFunction*/,
                                                size_t /*functionCount*/) {
    AIBinder_Class* clazz = AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                                  ICInterfaceData::onDestroy, onTransact);
    AIBinder_Class_setOnDump(clazz, ICInterfaceData::onDump);
    AIBinder_Class_setHandleShellCommand(clazz, ICInterfaceData::handleShellCommand);
    return clazz;
}

inline const std::shared_ptr<ICInterface>* ICInterface::ICInterfaceData::find(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    void* userData = AIBinder_getUserData(binder);
    return userData == nullptr ? nullptr : &static_cast<ICInterfaceData*>(userData)->interface;
}

inline void* ICInterface::ICInterfaceData::onCreate(void* args) {
    return new ICInterfaceData{static_cast<ICInterface*>(args)->ref<ICInterface>()};
}

inline void ICInterface::ICInterfaceData::onDestroy(void* userData) {
    delete static_cast<ICInterfaceData*>(userData);
}

inline binder_status_t ICInterface::ICInterfaceData::onDump(AIBinder* binder, int fd,
                                                            const char** args, uint32_t numArgs) {
    const std::shared_ptr<ICInterface>* interface = find(binder);
    return interface == nullptr ? STATUS_DEAD_OBJECT : (*interface)->dump(fd, args, numArgs);
}

inline binder_status_t ICInterface::ICInterfaceData::handleShellCommand(AIBinder* binder, int in,
                                                                        int out, int err,
                                                                        const char** argv,
                                                                        uint32_t argc) {
    const std::shared_ptr<ICInterface>* interface = find(binder);
    return interface == nullptr ? STATUS_DEAD_OBJECT
                                : (*interface)->handleShellCommand(in, out, err, argv, argc);
}

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard lock(mMutex);
    SpAIBinder binder = mWeakBinder.promote();
    if (binder.get() == nullptr) {
        binder = createBinder();
        mWeakBinder.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

}  // namespace ndk
