// SPDX-License-Identifier: Apache-2.0
#include "inflate_module.h"

#include <zlib.h>

int virtualDockInflate(const uint8_t* compressed, size_t compressedSize, uint8_t* bytes,
                       size_t size) {
    uLongf expanded = size;
    uLong used = compressedSize;
    return uncompress2(bytes, &expanded, compressed, &used) == Z_OK && expanded == size &&
           used == compressedSize;
}
