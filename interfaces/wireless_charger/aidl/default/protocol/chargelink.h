/* SPDX-License-Identifier: Apache-2.0 */
/*
 * libchargelink: the charging protocol of the phone's wireless charger. The library is closed;
 * these are the declarations of the operations that the service calls.
 *
 * Every operation that reports an outcome returns a 32-bit protocol result: 0 is success, 1 to 13
 * are failures, anything above (compared unsigned) is an unknown failure. All operations may be
 * called from several threads at once, but the caller serialises the framed requests
 * (sendBidiRequest, sendPropRequest, sendWpcAuthRequest). A framed request blocks until the dock or
 * the charger answers.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "fw_update_data.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prepares the library; call once, first. Non-zero means that the charger cannot be used. */
int initWlcProto(void);

/*
 * Reads one 32-bit status value of the charger. *value is valid only on result 0.
 * selector: 0 phone Qi specification code, 1 dock compatibility, 2 maximum power, 3 negotiated
 * power, 4 limit reason, 5 ptmc, 6 fan level, 7 dock identifier with flags in its top byte, 8
 * product.
 */
uint32_t getWlcInfo(int32_t selector, uint32_t* value);

/* Reads the alignment of the phone on the dock. */
uint32_t getWLCAlignment(uint8_t* status, uint8_t* subStatus, int32_t* value1, int32_t* value2);

/* Reads, writes the feature value of a query. */
uint32_t getFeature(int64_t query, int64_t* features);
uint32_t setFeature(int64_t query, int64_t features);

/*
 * Sends one framed request to the dock and waits for the answer. On entry *responseLength is the
 * capacity of response, on result 0 the number of answer bytes. request and response may be the
 * same area. A request without payload has length 0; one whose answer is not wanted passes null for
 * both response and responseLength.
 */
uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength);

/* As sendBidiRequest, to the charger chip itself, with a time limit in milliseconds. */
uint32_t sendPropRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength, uint32_t timeLimit);

/* As sendPropRequest, for the messages of WPC authentication. */
uint32_t sendWpcAuthRequest(int32_t type, const uint8_t* request, size_t requestLength,
                            uint8_t* response, size_t* responseLength, uint32_t timeLimit);

/*
 * Finds the element with the given tag in a TLV-coded answer. On result 0 *value points into packet
 * and *valueLength is the element's length.
 */
uint32_t getPacketTlv(const uint8_t* packet, size_t packetLength, int32_t tag,
                      const uint8_t** value, uint8_t* valueLength);

/* Hands the dock's Qi ID to the library. */
uint32_t setQiId(uint16_t qiId);

/* Starts WPC authentication readiness. */
uint32_t setAuthStart(void);

/* Publishes the firmware-update progress record; the library copies it. flag is always 1. */
uint32_t uploadFwUpdateData(const struct FwUpdateData* data, int32_t flag);

#ifdef __cplusplus
}
#endif
