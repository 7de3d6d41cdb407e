/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The firmware-update progress record that the charging library publishes.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

/*
 * A fixed 32-byte layout: every offset and the reserved bytes are part of the format. Multi-byte
 * fields are in the platform's byte order (little-endian on every device this ships on).
 */
struct FwUpdateData {
    uint8_t state; /* phase: 4 idle, 6 information reported, 2 transfer under way, 5 executed */
    uint8_t targetCode;   /* 3 when the update target is 1, else 2 */
    uint8_t currentMajor; /* the dock's current firmware version */
    uint8_t currentMinor;
    uint8_t newMajor; /* the version being installed, low bytes */
    uint8_t newMinor;
    uint8_t reserved6[2];  /* zero */
    int32_t result;        /* outcome code of the last phase */
    int32_t startCount;    /* start calls since the target last changed */
    int32_t chunkNumber;   /* the last chunk the dock accepted, or the first it misses */
    int32_t dockId;        /* the dock's identifier */
    uint8_t reserved24[8]; /* zero */
};

#ifdef __cplusplus
static_assert(sizeof(FwUpdateData) == 32);
static_assert(offsetof(FwUpdateData, result) == 8);
static_assert(offsetof(FwUpdateData, startCount) == 12);
static_assert(offsetof(FwUpdateData, chunkNumber) == 16);
static_assert(offsetof(FwUpdateData, dockId) == 20);
#endif
