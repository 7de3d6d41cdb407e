// SPDX-License-Identifier: Apache-2.0
//
// AParcel: the bytes, objects and descriptors of one call or one answer, written and read in order.
//
// A parcel has one position, shared by reading and writing. Each read moves it past the item; a
// read that fails leaves it where it was or inside the failed item, so after an error a parcel is
// only good for being deleted or repositioned. A write that fails leaves the contents
// unusable. Every item begins at a multiple of four bytes.
//
// Null. Where a parameter is nullable, null is written as a length of -1 and read back as one:
// array and string writers take null data with length -1 only, and allocators are called with
// length -1 for null and may refuse it by returning false.
//
// Lengths. Writers refuse a negative length other than that -1, and data that does not fit, with
// STATUS_BAD_VALUE or STATUS_NO_MEMORY. Readers check a length against the bytes that remain before
// they call an allocator: an allocator never sees a length that the parcel's own size does not
// justify (at least one byte an element of a byte array, four of every other kind).
//
// All functions return STATUS_OK, or STATUS_NOT_ENOUGH_DATA when the parcel ends too early,
// STATUS_BAD_VALUE for a length below -1, STATUS_NO_MEMORY for one beyond the bytes that remain or
// one that an allocator refused, STATUS_UNEXPECTED_NULL when it refused null, and what they name
// themselves. None of them blocks. A parcel may be used from any thread but only from one at a
// time.
//
// Stands in for the header of the same name in Android's NDK, written for Linux; the bytes are
// those of the platform's RPC sessions, in which a binder is written as its address.

#pragma once

#include <android/binder_status.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

__BEGIN_DECLS

struct AIBinder;
typedef struct AIBinder AIBinder;

struct AParcel;
typedef struct AParcel AParcel;

// ---- The parcel as a whole --------------------------------------------------------------------

// An empty parcel that belongs to no call. Owned by the caller, to give to AParcel_delete.
AParcel* _Nonnull AParcel_create(void) __attribute__((warn_unused_result));

// Frees a parcel and what it holds: references, and descriptors that were not taken. Takes null.
void AParcel_delete(AParcel* _Nullable parcel);

// Moves the position, in bytes from the start, at most the size and not negative: else
// STATUS_BAD_VALUE and nothing moves. Const, for readers go back and forth as well.
binder_status_t AParcel_setDataPosition(const AParcel* _Nonnull parcel, int32_t position);

// The position, 0 to the size.
int32_t AParcel_getDataPosition(const AParcel* _Nonnull parcel);

// The number of bytes in the parcel.
int32_t AParcel_getDataSize(const AParcel* _Nonnull parcel);

// Copies `len` bytes from `start` on. STATUS_BAD_VALUE for a range outside the parcel,
// STATUS_INVALID_OPERATION when it holds binders or descriptors, which bytes cannot carry.
binder_status_t AParcel_marshal(const AParcel* _Nonnull parcel, uint8_t* _Nonnull buffer,
                                size_t start, size_t len);

// Replaces the contents by a copy of `len` bytes and moves to the start. STATUS_BAD_VALUE beyond
// INT32_MAX bytes, STATUS_NO_MEMORY.
binder_status_t AParcel_unmarshal(AParcel* _Nonnull parcel, const uint8_t* _Nonnull buffer,
                                  size_t len);

// ---- Objects, descriptors, statuses -----------------------------------------------------------

// Writes an object; the parcel holds its own reference from here on. A proxy can only go back where
// it came from: AIBinder_transact, or the answer, fails when it is of another session.
binder_status_t AParcel_writeStrongBinder(AParcel* _Nonnull parcel, AIBinder* _Nullable binder);

// Reads an object with a new reference owned by the caller, or null. An error, among them
// STATUS_BAD_TYPE, for an item that is not a binder, has an invalid address, or a stability that
// this side does not accept; *binder is then null.
binder_status_t AParcel_readStrongBinder(const AParcel* _Nonnull parcel,
                                         AIBinder* _Nullable* _Nonnull binder);

// Writes a duplicate of `fd`, or null for -1; the caller keeps `fd`. STATUS_UNKNOWN_ERROR for
// another negative number, -errno when it cannot be duplicated. When the session carries no
// descriptors the call or answer fails with STATUS_FDS_NOT_ALLOWED as it is sent.
binder_status_t AParcel_writeParcelFileDescriptor(AParcel* _Nonnull parcel, int fd);

// Reads a descriptor, close-on-exec and owned by the caller, or -1 for null. STATUS_BAD_TYPE when
// the item is not a descriptor, STATUS_INVALID_OPERATION when it comes with a channel for its
// state, which only other kinds of sender make, -errno when this process can open no more. *fd is
// then -1.
binder_status_t AParcel_readParcelFileDescriptor(const AParcel* _Nonnull parcel, int* _Nonnull fd);

// Writes how a method ended, at the head of an answer. A status with EX_TRANSACTION_FAILED is not
// written: its transport status is returned instead. A message that is not valid UTF-8 is written
// as an empty one; the codes arrive.
binder_status_t AParcel_writeStatusHeader(AParcel* _Nonnull parcel, const AStatus* _Nonnull status);

// Reads it. With STATUS_OK *status is a status owned by the caller; otherwise untouched.
binder_status_t AParcel_readStatusHeader(const AParcel* _Nonnull parcel,
                                         AStatus* _Nonnull* _Nonnull status);

// ---- Strings ----------------------------------------------------------------------------------

// Gives room for a string of `length` bytes including the final NUL, at least 1, in *buffer; or
// takes note of null (length -1, *buffer is not used). False refuses it.
typedef bool (*AParcel_stringAllocator)(void* _Nullable stringData, int32_t length,
                                        char* _Nullable* _Nullable buffer);

// Writes `length` bytes of UTF-8, which need no NUL and may contain some; null with length -1.
// STATUS_BAD_VALUE for what is not valid UTF-8, of which the platform lets some pass as other text.
binder_status_t AParcel_writeString(AParcel* _Nonnull parcel, const char* _Nullable string,
                                    int32_t length);

// Reads a string as UTF-8 into what the allocator gives. Unpaired surrogates arrive as U+FFFD.
binder_status_t AParcel_readString(const AParcel* _Nonnull parcel, void* _Nullable stringData,
                                   AParcel_stringAllocator _Nonnull allocator);

// ---- Scalars ----------------------------------------------------------------------------------

// bool, byte (sign-extended) and char (zero-extended) take four bytes each, as 32-bit values.
// Reading one of them keeps the low bits; any value but 0 is true.
binder_status_t AParcel_writeBool(AParcel* _Nonnull parcel, bool value);
binder_status_t AParcel_writeByte(AParcel* _Nonnull parcel, int8_t value);
binder_status_t AParcel_writeChar(AParcel* _Nonnull parcel, char16_t value);
binder_status_t AParcel_writeInt32(AParcel* _Nonnull parcel, int32_t value);
binder_status_t AParcel_writeInt64(AParcel* _Nonnull parcel, int64_t value);
binder_status_t AParcel_writeFloat(AParcel* _Nonnull parcel, float value);
binder_status_t AParcel_writeDouble(AParcel* _Nonnull parcel, double value);

binder_status_t AParcel_readBool(const AParcel* _Nonnull parcel, bool* _Nonnull value);
binder_status_t AParcel_readByte(const AParcel* _Nonnull parcel, int8_t* _Nonnull value);
binder_status_t AParcel_readChar(const AParcel* _Nonnull parcel, char16_t* _Nonnull value);
binder_status_t AParcel_readInt32(const AParcel* _Nonnull parcel, int32_t* _Nonnull value);
binder_status_t AParcel_readInt64(const AParcel* _Nonnull parcel, int64_t* _Nonnull value);
binder_status_t AParcel_readFloat(const AParcel* _Nonnull parcel, float* _Nonnull value);
binder_status_t AParcel_readDouble(const AParcel* _Nonnull parcel, double* _Nonnull value);

// ---- Arrays of scalars ------------------------------------------------------------------------

// Element `index` of an array of bools.
typedef bool (*AParcel_boolArrayGetter)(const void* _Nullable arrayData, size_t index);

// Makes room for `length` bools (-1: null). False refuses it.
typedef bool (*AParcel_boolArrayAllocator)(void* _Nullable arrayData, int32_t length);

// Stores element `index`.
typedef void (*AParcel_boolArraySetter)(void* _Nullable arrayData, size_t index, bool value);

// Each gives room for `length` elements in *outBuffer, which may stay null when length is 0; or
// takes note of null (length -1). False refuses it. The buffer is filled before the reader returns.
typedef bool (*AParcel_byteArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                           int8_t* _Nullable* _Nullable outBuffer);
typedef bool (*AParcel_charArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                           char16_t* _Nullable* _Nullable outBuffer);
typedef bool (*AParcel_int32ArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                            int32_t* _Nullable* _Nullable outBuffer);
typedef bool (*AParcel_int64ArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                            int64_t* _Nullable* _Nullable outBuffer);
typedef bool (*AParcel_floatArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                            float* _Nullable* _Nullable outBuffer);
typedef bool (*AParcel_doubleArrayAllocator)(void* _Nullable arrayData, int32_t length,
                                             double* _Nullable* _Nullable outBuffer);

// Write `length` elements, copied before they return; null data only with length 0 or, for null,
// -1. A byte array is its bytes, padded as a whole; bools and chars take four bytes each.
binder_status_t AParcel_writeBoolArray(AParcel* _Nonnull parcel, const void* _Nullable arrayData,
                                       int32_t length, AParcel_boolArrayGetter _Nonnull getter);
binder_status_t AParcel_writeByteArray(AParcel* _Nonnull parcel, const int8_t* _Nullable arrayData,
                                       int32_t length);
binder_status_t AParcel_writeCharArray(AParcel* _Nonnull parcel,
                                       const char16_t* _Nullable arrayData, int32_t length);
binder_status_t AParcel_writeInt32Array(AParcel* _Nonnull parcel,
                                        const int32_t* _Nullable arrayData, int32_t length);
binder_status_t AParcel_writeInt64Array(AParcel* _Nonnull parcel,
                                        const int64_t* _Nullable arrayData, int32_t length);
binder_status_t AParcel_writeFloatArray(AParcel* _Nonnull parcel, const float* _Nullable arrayData,
                                        int32_t length);
binder_status_t AParcel_writeDoubleArray(AParcel* _Nonnull parcel,
                                         const double* _Nullable arrayData, int32_t length);

binder_status_t AParcel_readBoolArray(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                      AParcel_boolArrayAllocator _Nonnull allocator,
                                      AParcel_boolArraySetter _Nonnull setter);
binder_status_t AParcel_readByteArray(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                      AParcel_byteArrayAllocator _Nonnull allocator);
binder_status_t AParcel_readCharArray(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                      AParcel_charArrayAllocator _Nonnull allocator);
binder_status_t AParcel_readInt32Array(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                       AParcel_int32ArrayAllocator _Nonnull allocator);
binder_status_t AParcel_readInt64Array(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                       AParcel_int64ArrayAllocator _Nonnull allocator);
binder_status_t AParcel_readFloatArray(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                       AParcel_floatArrayAllocator _Nonnull allocator);
binder_status_t AParcel_readDoubleArray(const AParcel* _Nonnull parcel, void* _Nullable arrayData,
                                        AParcel_doubleArrayAllocator _Nonnull allocator);

__END_DECLS
