// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// libvirtual_dock_inflate.so: zlib, loaded when the first compressed image is executed. Any thread.
extern "C" {

// Expands a zlib stream. 1 when it is whole and gives exactly `size` bytes, else 0.
int virtualDockInflate(const uint8_t* compressed, size_t compressedSize, uint8_t* bytes,
                       size_t size);
}
