// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dock/protocol.h"

namespace dockctl {

using ByteVector = std::vector<uint8_t>;

// A logged request, as the dock tells it.
struct LoggedRequest {
    virtual_dock::Operation operation;
    int32_t type = 0;
    uint32_t result = 0;
    ByteVector request;
    ByteVector answer;
};

// What the bytes mean, in words. Bytes that fit no known layout are called "unknown" or get no
// words at all; any bytes are safe.
std::string describeRequest(const LoggedRequest& logged);
std::string describeAnswer(const LoggedRequest& logged);

// "ok", or the number and name of a protocol result.
std::string describeResult(uint32_t result);

// What the request's type is called, or "unknown request".
std::string nameOf(const LoggedRequest& logged);

// Firmware and legacy update: requests of a firmware::Type.
std::string describeFirmwareRequest(const LoggedRequest& logged);
std::string describeFirmwareAnswer(const LoggedRequest& logged);

// The little-endian number of `size` bytes at a position; bytes that are not there count as 0.
uint64_t numberAt(const ByteVector& bytes, size_t at, size_t size);

// Printable ASCII as it is, everything else as \xNN.
std::string printable(const ByteVector& bytes, size_t from = 0);

}  // namespace dockctl
