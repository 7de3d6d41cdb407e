// SPDX-License-Identifier: Apache-2.0
/*
 * Stands in for libchargelink and libreverselink inside a test: records what the service sends and
 * answers as the test says. Unlike the real libraries it knows nothing of docks: an exchange
 * without an answer of the test's succeeds and leaves the answer area alone. TLV elements are coded
 * as tag, length, value. Exchanges may be made on several threads; a script must then be safe
 * itself.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "protocol/chargelink.h"
#include "protocol/reverselink.h"

namespace fake {

using Bytes = std::vector<uint8_t>;

/** One framed request. */
struct Sent {
    enum Channel { BIDI, PROP, WPC_AUTH };
    Channel channel;
    int32_t type;
    Bytes request;
    bool hasRequestArea;
    size_t capacity;  // 0: no answer wanted
    uint32_t timeLimit;
};

/** What the library leaves in the area, and the length it claims (that of the bytes by default). */
struct Answer {
    uint32_t result = 0;
    Bytes bytes = {};
    std::optional<size_t> claimedLength = {};
};

struct Alignment {
    uint32_t result = 0;
    uint8_t status = 0;
    uint8_t subStatus = 0;
    int32_t value1 = 0;
    int32_t value2 = 0;
};

struct RtxText {
    uint32_t result = 0;
    std::string text = {};  // at most 20 bytes, copied without a terminator
};

struct Protocol {
    // Script. Empty: success without an answer.
    std::function<Answer(const Sent&)> answer;
    // A selector that is not there fails with 6.
    std::map<int32_t, uint32_t> values;
    Alignment alignment;
    uint32_t simpleResult = 0;  // of getFeature, setFeature, setAuthStart
    std::map<int32_t, RtxText> rtx;

    // Record.
    std::vector<Sent> sent;
    std::vector<uint16_t> qiIds;
    std::vector<FwUpdateData> uploads;

    std::mutex lock;  // over what was sent
};

/** The one library; a fresh one for each reset(). */
Protocol& protocol();
void reset();

/** Answers every exchange with the same. */
inline void answerAll(Answer answer) {
    protocol().answer = [answer = std::move(answer)](const Sent&) { return answer; };
}

/** "0F FA" to bytes. */
Bytes hex(const std::string& text);

}  // namespace fake
