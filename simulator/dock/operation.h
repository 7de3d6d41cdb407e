// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_dock {

// The operations of the two libraries that the dock answers. getPacketTlv is not among them: it
// only looks into a packet and never reaches the dock.
enum class Operation : uint8_t {
    kGetWlcInfo,
    kGetAlignment,
    kGetFeature,
    kSetFeature,
    kBidiRequest,
    kPropRequest,
    kWpcAuthRequest,
    kSetQiId,
    kSetAuthStart,
    kUploadFwUpdateData,
    kRtxRequest,
};
constexpr int kOperationCount = 11;

// The name of the C function.
const char* operationName(Operation operation);
bool operationFromName(std::string_view name, Operation* operation);
std::vector<std::string> operationNames();

}  // namespace virtual_dock
