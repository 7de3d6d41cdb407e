// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

// Annotations for clang's thread-safety analysis, named as in Android's libbase.
//
// They say which lock protects a member and which locks a function needs, takes or must not be
// called with; a clang build with -Wthread-safety then refuses code that does otherwise.
//
// Differs from Android: they are active only when the standard library's own locks are annotated,
// that is with clang, libc++ and -D_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS (the `clang` preset).
// Elsewhere they expand to nothing, because naming an unannotated std::mutex in them would itself
// be a warning. std::mutex, std::lock_guard are analysed; std::unique_lock is not: follow it with a
// ScopedLockAssertion.

#if defined(__clang__) && defined(_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS)
#define THREAD_ANNOTATION_ATTRIBUTE__(x) __attribute__((x))
#else
#define THREAD_ANNOTATION_ATTRIBUTE__(x)
#endif

// A class that holds a lock for its scope.
#define SCOPED_CAPABILITY THREAD_ANNOTATION_ATTRIBUTE__(scoped_lockable)

// A member that may be touched only with the lock held; or what a pointer member points to.
#define GUARDED_BY(x) THREAD_ANNOTATION_ATTRIBUTE__(guarded_by(x))
#define PT_GUARDED_BY(x) THREAD_ANNOTATION_ATTRIBUTE__(pt_guarded_by(x))

// The caller holds the locks (REQUIRES) or must not hold them (EXCLUDES).
#define REQUIRES(...) THREAD_ANNOTATION_ATTRIBUTE__(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION_ATTRIBUTE__(locks_excluded(__VA_ARGS__))

// The function takes the locks and returns with them, or releases them.
#define ACQUIRE(...) THREAD_ANNOTATION_ATTRIBUTE__(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION_ATTRIBUTE__(release_capability(__VA_ARGS__))

// The function is not analysed; say at the place why it is right all the same.
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION_ATTRIBUTE__(no_thread_safety_analysis)

namespace android::base {

// Tells the analysis that `mutex` is held for the rest of the scope. Does nothing at run time. For
// the line after a std::unique_lock, and for lambdas that run with the lock held.
class SCOPED_CAPABILITY ScopedLockAssertion {
  public:
    explicit ScopedLockAssertion(std::mutex& mutex) ACQUIRE(mutex) { static_cast<void>(mutex); }
    ~ScopedLockAssertion() RELEASE() {}
};

}  // namespace android::base
