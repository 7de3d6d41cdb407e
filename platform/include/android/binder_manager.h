// SPDX-License-Identifier: Apache-2.0
//
// Finding objects of other processes by name, and offering own ones.
//
// A name is an interface descriptor, a slash and an instance: "vendor.zorvak.foo.IFoo/default".
// Names are NUL-terminated and copied. All functions may be called from any thread.
//
// Stands in for the header of the same name in Android's NDK, written for Linux: there is no
// service manager process. A registered name is a Unix socket below $ANDROID_HOST_DIR, which only
// processes of the same user can reach; a server of any other make that listens there is found too.
// Where it differs:
//   a second registration of a name  is refused while the first one's process lives. The platform
//                                    replaces the first, whose clients keep it.
//   the object of another process    cannot be registered. The platform allows it.

#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Offers a local object under a name for as long as the process lives; the runtime keeps a
// reference. EX_NONE when it is registered. EX_ILLEGAL_ARGUMENT for a null object, the object of
// another process or an invalid name, EX_ILLEGAL_STATE when another living process has the name or
// the socket cannot be made, EX_SECURITY when the run-time folder is not this user's own or open to
// others. What a dead process left under the name is replaced.
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addService(
    AIBinder* _Nonnull binder, const char* _Nonnull instance);

// The object of that name with a reference owned by the caller, or null when the
// service is not running. Blocks only to open the session. A name registered by this process gives
// the local object.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_checkService(const char* _Nonnull instance);

// As AServiceManager_checkService, but waits up to five seconds for the name to appear.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_getService(const char* _Nonnull instance);

// As above without a limit: returns once the service is running, which may be never. Null only when
// the name is invalid.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_waitForService(const char* _Nonnull instance);

// True when a VINTF fragment in the run-time folder declares the name, whether the service is
// running or not.
__attribute__((warn_unused_result)) bool AServiceManager_isDeclared(const char* _Nonnull instance);

__END_DECLS
