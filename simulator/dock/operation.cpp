// SPDX-License-Identifier: Apache-2.0
#include "operation.h"

namespace virtual_dock {
namespace {

constexpr const char* kNames[kOperationCount] = {
    "getWlcInfo",      "getWLCAlignment",    "getFeature",         "setFeature",
    "sendBidiRequest", "sendPropRequest",    "sendWpcAuthRequest", "setQiId",
    "setAuthStart",    "uploadFwUpdateData", "sendRtxRequest"};

}  // namespace

const char* operationName(Operation operation) {
    return kNames[static_cast<int>(operation)];
}

bool operationFromName(std::string_view name, Operation* operation) {
    for (int i = 0; i < kOperationCount; ++i) {
        if (name == kNames[i]) {
            *operation = static_cast<Operation>(i);
            return true;
        }
    }
    return false;
}

std::vector<std::string> operationNames() {
    return {std::begin(kNames), std::end(kNames)};
}

}  // namespace virtual_dock
