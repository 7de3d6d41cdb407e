// SPDX-License-Identifier: Apache-2.0
//
// The virtual dock with any line on its control socket, any framed request, any TLV packet.
// The first byte chooses which.
#include <chargelink.h>

#include <cstdlib>
#include <memory>
#include <string_view>

#include "dock/commands.h"
#include "dock/virtual_dock.h"
#include "dock/words.h"

using virtual_dock::Bytes;
using virtual_dock::Operation;
using virtual_dock::VirtualDock;

namespace {

void runLines(std::string_view text) {
    VirtualDock dock;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const auto words = virtual_dock::splitWords(text.substr(0, end));
        // Files all over the machine are not wanted.
        if (!words || words->empty() || words->front() != "record") {
            virtual_dock::runCommand(&dock, text.substr(0, end));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

// Requests of one dock after another in the input: type, length, bytes.
void sendRequests(Bytes input, Operation operation) {
    VirtualDock dock;
    while (input.size() > 2) {
        const int32_t type = input[0];
        const size_t length = std::min<size_t>(input[1], input.size() - 2);
        uint8_t answer[256];
        dock.exchange({.operation = operation,
                       .type = type,
                       .request = input.subspan(2, length),
                       .answer = answer,
                       .capacity = sizeof(answer)});
        input = input.subspan(2 + length);
    }
}

void findTags(Bytes packet) {
    const auto exact = std::make_unique<uint8_t[]>(packet.size());
    std::copy(packet.begin(), packet.end(), exact.get());
    for (int32_t tag = 0; tag < 256; ++tag) {
        const uint8_t* value = nullptr;
        uint8_t length = 0;
        if (getPacketTlv(exact.get(), packet.size(), tag, &value, &length) != 0) continue;
        if (value < exact.get() || value + length > exact.get() + packet.size()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Uevents go nowhere.
    setenv("ANDROID_HOST_UEVENT_SOCKET", "/nonexistent/uevents", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const Bytes input(data + 1, size - 1);
    constexpr Operation kFramed[] = {Operation::kBidiRequest, Operation::kPropRequest,
                                     Operation::kWpcAuthRequest};
    const size_t kind = data[0] % 5;
    if (kind == 0) {
        runLines({reinterpret_cast<const char*>(input.data()), input.size()});
    } else if (kind <= std::size(kFramed)) {
        sendRequests(input, kFramed[kind - 1]);
    } else {
        findTags(input);
    }
    return 0;
}
