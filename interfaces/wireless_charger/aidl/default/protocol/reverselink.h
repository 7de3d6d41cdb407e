/* SPDX-License-Identifier: Apache-2.0 */
/*
 * libreverselink: reverse-transmit requests (the phone charges another device laid on its back).
 * The library is closed; these are the declarations of the operations that the service calls. Both
 * may be called from several threads at once.
 */
#pragma once

#include <stdint.h>

/* The text a request leaves behind. The library need not terminate it within the area. */
struct RtxAnswer {
    char text[20];
};

#ifdef __cplusplus
extern "C" {
#endif

/* Prepares the library; call once, first. Non-zero means that reverse transmit cannot be used. */
int initRtxProto(void);

/* Performs one reverse-transmit request (type 1 to 10) and leaves its text in answer; 0 is success.
 */
uint32_t sendRtxRequest(int32_t type, struct RtxAnswer* answer);

#ifdef __cplusplus
}
#endif
