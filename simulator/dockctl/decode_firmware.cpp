// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include "decode.h"

namespace dockctl {
namespace {

using namespace virtual_dock::firmware;

// The untargeted set is the same, one target byte further to the front.
bool isTargeted(const LoggedRequest& logged) {
    return logged.operation == virtual_dock::Operation::kPropRequest;
}

}  // namespace

std::string describeFirmwareRequest(const LoggedRequest& logged) {
    const ByteVector& request = logged.request;
    const size_t base = isTargeted(logged) ? 1 : 0;
    std::string text = nameOf(logged);
    if (isTargeted(logged) && logged.type != kReboot) {
        text += fmt::format(", target {}", static_cast<int8_t>(numberAt(request, 0, 1)));
    }
    if (logged.type == kStart) {
        text += fmt::format(", {} bytes in chunks of {}, {}, version {}.{}",
                            static_cast<int32_t>(numberAt(request, base, 4)),
                            numberAt(request, base + 4, 1),
                            numberAt(request, base + 5, 1) & kFlagFresh ? "fresh" : "resume",
                            numberAt(request, base + 6, 1), numberAt(request, base + 7, 1));
        if (isTargeted(logged) && (numberAt(request, 6, 1) & kFlagCompressed)) {
            text += fmt::format(", compressed {} bytes", numberAt(request, 9, 4));
        }
        if (!isTargeted(logged)) text += fmt::format(" \"{}\"", printable(request, 8));
    }
    if (logged.type == kChunk) {
        const size_t header = base + 3;
        text += fmt::format(", number {}, tag {}, {} bytes", numberAt(request, base, 2),
                            numberAt(request, base + 2, 1),
                            request.size() > header ? request.size() - header : 0);
    }
    return text;
}

std::string describeFirmwareAnswer(const LoggedRequest& logged) {
    const ByteVector& answer = logged.answer;
    const size_t base = isTargeted(logged) ? 1 : 0;
    switch (logged.type) {
        case kInformation:
            if (!isTargeted(logged)) {
                return fmt::format("at most {} bytes", numberAt(answer, 1, 4));
            }
            return fmt::format("at most {} bytes in chunks of {}, version {}.{}",
                               numberAt(answer, 1, 4), numberAt(answer, 5, 1),
                               numberAt(answer, 6, 1), numberAt(answer, 7, 1));
        case kStart:
            if (!isTargeted(logged)) return fmt::format("status {}", numberAt(answer, 0, 1));
            return fmt::format("{}, chunks of {}, {} % to go",
                               numberAt(answer, 1, 1) == 1 ? "resumed" : "fresh",
                               numberAt(answer, 2, 1), numberAt(answer, 3, 1));
        case kChunk:
            return fmt::format("next {}", numberAt(answer, base, 2));
        case kMissing:
            return fmt::format("chunk {} of {}", numberAt(answer, base, 2),
                               numberAt(answer, base + 2, 2));
        case kExecute:
            return fmt::format("status {}", numberAt(answer, base, 1));
        case kStatus:
            return fmt::format("status {}, progress {} %", numberAt(answer, base, 1),
                               numberAt(answer, base + 1, 1));
        default:
            return {};
    }
}

}  // namespace dockctl
