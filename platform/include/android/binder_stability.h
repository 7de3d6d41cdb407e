// SPDX-License-Identifier: Apache-2.0
//
// Promises about how long an object's interface stays as it is. The mark travels with the object,
// and the receiving side refuses objects whose mark it does not accept.
//
// Stands in for the header of the same name in Android's NDK, written for Linux, where system and
// vendor are one partition: only the VINTF mark means anything.

#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Flags that generated stubs pass to AIBinder_transact for calls that stay within one partition.
// Linux is one partition, so the local flag is 0.
enum {
    FLAG_PRIVATE_VENDOR = 0x10000000,
    FLAG_PRIVATE_LOCAL = 0,
};

// Marks a local object as one whose interface is stable between partitions, as @VintfStability
// says. To be done before the object is handed to anyone. A null object and a proxy abort the
// process.
void AIBinder_markVintfStability(AIBinder* _Nonnull binder);

__END_DECLS
