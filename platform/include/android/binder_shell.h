// SPDX-License-Identifier: Apache-2.0
//
// Shell commands: what `cmd NAME WORD…` asks of an object.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Runs a shell command on a local object. The three descriptors are the command's input, output and
// errors; they and the texts (NUL-terminated, `argc` of them) belong to the runtime. The returned
// status becomes the command's exit status. Runs on a thread of the pool; may block.
typedef binder_status_t (*AIBinder_handleShellCommand)(AIBinder* _Nonnull binder, int in, int out,
                                                       int err,
                                                       const char* _Nullable* _Nullable argv,
                                                       uint32_t argc);

// Sets what runs shell commands for objects of a class; null for none. To be called before the
// first object of the class is made.
void AIBinder_Class_setHandleShellCommand(AIBinder_Class* _Nonnull clazz,
                                          AIBinder_handleShellCommand _Nullable handleShellCommand);

__END_DECLS
