// SPDX-License-Identifier: Apache-2.0
//
// AIBinder: one object that can be called from other processes, or the proxy of one over there.
//
// References. An AIBinder is counted. A function that returns an AIBinder* (or fills an AIBinder**)
// hands the caller one strong reference unless it says otherwise, to be given back with
// AIBinder_decStrong. Within one session the same remote object is always the same AIBinder*.
//
// Threads. Every function here may be called from any thread unless it says otherwise. Only
// AIBinder_ping, AIBinder_dump, AIBinder_transact, AIBinder_linkToDeath and, for a proxy whose
// interface is not known yet, AIBinder_associateClass talk to the other process and block until it
// has answered.
//
// Stands in for the header of the same name in Android's NDK, written for Linux: objects travel
// over Unix sockets with the platform's RPC protocol instead of the kernel's binder driver.

#pragma once

#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>
#include <sys/types.h>
#include <unistd.h>

__BEGIN_DECLS

// The number of a method. An interface's own methods lie between the two values below.
typedef uint32_t transaction_code_t;
enum {
    FIRST_CALL_TRANSACTION = 0x00000001,
    LAST_CALL_TRANSACTION = 0x00ffffff,
};

// Flags of AIBinder_transact, or-ed together; others are refused with STATUS_BAD_VALUE.
typedef uint32_t binder_flags_t;
enum {
    // Do not wait for an answer. There is none, and no error that the method reports arrives.
    FLAG_ONEWAY = 0x01,
};

struct AIBinder;
typedef struct AIBinder AIBinder;

// A reference that does not keep the object alive.
struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

// What is common to all objects of an interface. Made once per interface, never freed.
struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;

// Called when objects of other processes die.
struct AIBinder_DeathRecipient;
typedef struct AIBinder_DeathRecipient AIBinder_DeathRecipient;

// ---- Classes ----------------------------------------------------------------------------------

// Called by AIBinder_new with its args; what it returns is the object's user data.
typedef void* _Nullable (*AIBinder_Class_onCreate)(void* _Nullable args);

// Called once, with the user data, when the last strong reference to a local object goes. Runs on
// the thread that gave that reference back, with no lock of the runtime held.
typedef void (*AIBinder_Class_onDestroy)(void* _Nullable userData);

// Serves one call on a local object. Runs on a thread of the pool, or on the caller's own when the
// call comes from this process. `in` is positioned after the interface descriptor, which has
// been checked; both parcels belong to the runtime and are gone afterwards. For a oneway call `out`
// is discarded. Returns STATUS_OK when `out` holds the answer, STATUS_UNKNOWN_TRANSACTION for a
// number it does not know, else the transport status that the caller gets instead of an answer.
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* _Nonnull binder,
                                                     transaction_code_t code,
                                                     const AParcel* _Nonnull in,
                                                     AParcel* _Nonnull out);

// Writes a report about the object to `fd`. Owns neither the descriptor nor the texts, which are
// NUL-terminated UTF-8; numArgs may be 0, and args is then possibly null.
typedef binder_status_t (*AIBinder_onDump)(AIBinder* _Nonnull binder, int fd,
                                           const char* _Nullable* _Nullable args, uint32_t numArgs);

// Makes the class of an interface. The descriptor, such as "vendor.zorvak.wireless_charger.IFoo",
// is copied. Meant for a static initialiser; never null, never freed.
__attribute__((warn_unused_result))
AIBinder_Class* _Nonnull AIBinder_Class_define(const char* _Nonnull interfaceDescriptor,
                                               AIBinder_Class_onCreate _Nonnull onCreate,
                                               AIBinder_Class_onDestroy _Nonnull onDestroy,
                                               AIBinder_Class_onTransact _Nonnull onTransact);

// Sets what answers AIBinder_dump. Without it a dump writes nothing and succeeds. To be called
// before the first object of the class is made, as the other setters of a class.
void AIBinder_Class_setOnDump(AIBinder_Class* _Nonnull clazz, AIBinder_onDump _Nullable onDump);

// The descriptor given to AIBinder_Class_define. Lives as long as the class.
const char* _Nonnull AIBinder_Class_getDescriptor(const AIBinder_Class* _Nonnull clazz);

// ---- Objects ----------------------------------------------------------------------------------

// A new local object with one strong reference, which the caller owns. Calls the class's onCreate
// with `args` before it returns.
__attribute__((warn_unused_result))
AIBinder* _Nonnull AIBinder_new(const AIBinder_Class* _Nonnull clazz, void* _Nullable args);

// True when the object lives in another process. False for null.
bool AIBinder_isRemote(const AIBinder* _Nullable binder);

// False once the session to the object's process is known to have ended; a local object is always
// alive. False for null. A true may be out of date by the time it is looked at.
bool AIBinder_isAlive(const AIBinder* _Nullable binder);

// Checks that the object's process responds. STATUS_OK at once for a local object,
// STATUS_UNEXPECTED_NULL for null. Blocks.
binder_status_t AIBinder_ping(AIBinder* _Nullable binder);

// Has the object write its report to `fd`, which the caller keeps. `args` are numArgs
// NUL-terminated texts. STATUS_UNEXPECTED_NULL for a null object, STATUS_FAILED_TRANSACTION for an
// `fd` that is not open, STATUS_FDS_NOT_ALLOWED when the session carries no descriptors. Blocks
// until the object has finished. An object of another process writes into a pipe of its own
// runtime, which passes the bytes on; on the platform it writes to `fd` itself.
binder_status_t AIBinder_dump(AIBinder* _Nullable binder, int fd,
                              const char* _Nullable* _Nullable args, uint32_t numArgs);

// The user and process that made the call this thread is serving; this process itself when it
// serves none. From the socket's credentials, which cannot be forged. In a oneway call the
// process is 0: whoever made it may be gone.
__attribute__((warn_unused_result)) uid_t AIBinder_getCallingUid(void);
__attribute__((warn_unused_result)) pid_t AIBinder_getCallingPid(void);

// One strong reference more, or less. The last one less of a local object destroys it, of a proxy
// gives the remote object free. Both take null.
void AIBinder_incStrong(AIBinder* _Nullable binder);
void AIBinder_decStrong(AIBinder* _Nullable binder);

// The number of strong references, for tests and logs only; -1 for null.
int32_t AIBinder_debugGetRefCount(AIBinder* _Nullable binder);

// Takes the object for one of this interface, which is needed before calling it. True when it
// already is one of this very class, or is a proxy without a class whose descriptor is the class's;
// a proxy seen for the first time is asked, which blocks. False otherwise and for null.
bool AIBinder_associateClass(AIBinder* _Nullable binder, const AIBinder_Class* _Nonnull clazz);

// The class given at AIBinder_new or associated since; null when there is none yet, and for null.
const AIBinder_Class* _Nullable AIBinder_getClass(AIBinder* _Nullable binder);

// What the class's onCreate returned for this local object; null for a proxy and for null.
void* _Nullable AIBinder_getUserData(AIBinder* _Nullable binder);

// ---- Calls ------------------------------------------------------------------------------------

// Begins a call: a new parcel that starts with the interface descriptor, owned by the caller until
// it is given to AIBinder_transact. STATUS_UNEXPECTED_NULL for null, STATUS_INVALID_OPERATION when
// the object has no class. On an error *in is null.
binder_status_t AIBinder_prepareTransaction(AIBinder* _Nullable binder,
                                            AParcel* _Nullable* _Nonnull in);

// Makes the call. Takes ownership of *in in any case and sets it to null; `in` must come from
// AIBinder_prepareTransaction for the same object, else STATUS_BAD_VALUE.
// With STATUS_OK the caller owns the answer in *out, which is positioned at its start; on an error
// *out is null.
//
// Blocks until the answer is there, for as long as the other side takes. While it waits, this
// thread serves calls that the called process makes back to this one. With FLAG_ONEWAY it returns
// when the call is on its way: calls on one object arrive in the order they were made.
//
// STATUS_DEAD_OBJECT when the other process is gone, STATUS_WOULD_BLOCK when it has no connection
// for calls from this side, STATUS_FAILED_TRANSACTION when the call is too large (100,000 bytes;
// over the platform's kernel driver about 1 MiB) or when a oneway call finds its queue full,
// STATUS_UNKNOWN_TRANSACTION when `code` is no method's or the object does not know it, and
// whatever transport status the object's onTransact returned.
//
// Where it differs: a server does not wait for its clients as they wait for it. A client that does
// not answer a call of its server within five seconds, or lets its oneway queue fill up, loses its
// session, and with it everything it has registered; its death recipients run.
binder_status_t AIBinder_transact(AIBinder* _Nullable binder, transaction_code_t code,
                                  AParcel* _Nullable* _Nonnull in, AParcel* _Nullable* _Nonnull out,
                                  binder_flags_t flags);

// ---- Weak references --------------------------------------------------------------------------

// A weak reference, owned by the caller, to give to AIBinder_Weak_delete. Null for null.
__attribute__((warn_unused_result))
AIBinder_Weak* _Nullable AIBinder_Weak_new(AIBinder* _Nullable binder);

// Ends a weak reference; takes null.
void AIBinder_Weak_delete(AIBinder_Weak* _Nullable weakBinder);

// The object with a new strong reference, owned by the caller, or null when it is gone.
__attribute__((warn_unused_result))
AIBinder* _Nullable AIBinder_Weak_promote(AIBinder_Weak* _Nullable weakBinder);

// ---- Death ------------------------------------------------------------------------------------

// Tells that an object's process, or the session to it, has ended. Runs at most once per link, on a
// thread of the runtime, with no lock of the runtime held. It must not block for long.
typedef void (*AIBinder_DeathRecipient_onBinderDied)(void* _Nullable cookie);

// Tells that the runtime will not use a link's cookie again: after its death call, after
// AIBinder_unlinkToDeath, when an AIBinder_linkToDeath fails, with the last reference to the object
// or when the recipient is deleted. Once per link.
typedef void (*AIBinder_DeathRecipient_onBinderUnlinked)(void* _Nullable cookie);

// A recipient, owned by the caller, that may be linked to many objects.
__attribute__((warn_unused_result)) AIBinder_DeathRecipient* _Nonnull AIBinder_DeathRecipient_new(
    AIBinder_DeathRecipient_onBinderDied _Nonnull onBinderDied);

// Sets the call for ended links; to be done before the first AIBinder_linkToDeath.
void AIBinder_DeathRecipient_setOnUnlinked(
    AIBinder_DeathRecipient* _Nonnull recipient,
    AIBinder_DeathRecipient_onBinderUnlinked _Nonnull onUnlinked);

// Ends a recipient; takes null. None of its links makes a death call from here on, but one that
// already runs on another thread may go on until it returns.
void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* _Nullable recipient);

// Calls the recipient with `cookie` when the object dies. The caller keeps a reference to the
// object and keeps the recipient: the link ends without a death call with either. The cookie is the
// caller's: the runtime only passes it on. May block while a connection for the other side's calls
// is opened. STATUS_DEAD_OBJECT when the object is dead already, STATUS_FAILED_TRANSACTION when the
// server accepts no such connection, STATUS_INVALID_OPERATION for a local object, which dies with
// this process only, STATUS_UNEXPECTED_NULL for a null object or recipient. Nothing is linked then;
// but for a null, the recipient's onUnlinked has been called.
binder_status_t AIBinder_linkToDeath(AIBinder* _Nullable binder,
                                     AIBinder_DeathRecipient* _Nullable recipient,
                                     void* _Nullable cookie);

// Takes back one link with this recipient and this cookie. STATUS_NAME_NOT_FOUND when there is
// none, also because the object died first (its death call has run, runs or will run);
// STATUS_UNEXPECTED_NULL for a null object or recipient.
binder_status_t AIBinder_unlinkToDeath(AIBinder* _Nullable binder,
                                       AIBinder_DeathRecipient* _Nullable recipient,
                                       void* _Nullable cookie);

__END_DECLS
