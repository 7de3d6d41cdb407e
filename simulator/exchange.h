// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "dock/packet.h"
#include "dock/protocol.h"

// One representation of a call into a closed library. The C functions (chargelink.cpp,
// reverselink.cpp) turn their arguments into an Exchange and pass it to the endpoint of the
// process.
namespace virtual_dock {

// What a call asks for. The request and the answer of the operations that are not framed requests
// are coded little-endian:
//
// | operation          | type           | request              | answer                           |
// | ------------------ | -------------- | -------------------- | -------------------------------- |
// | getWlcInfo         | selector       |                      | value (4)                        |
// | getWLCAlignment    |                |                      | state, substate, values (4 each) |
// | getFeature         |                | query (8)            | features (8)                     |
// | setFeature         |                | query, features (8)  |                                  |
// | getPacketTlv       | tag, unsigned  | the packet           | offset (4), length (1)           |
// | setQiId            |                | Qi ID (2)            |                                  |
// | setAuthStart       |                |                      |                                  |
// | uploadFwUpdateData | flag           | the record           |                                  |
// | sendRtxRequest     | type           |                      | what is left in the area         |
//
// Views of the caller's memory: valid until the call returns. request and answer may overlap.
struct Exchange {
    Operation operation;
    int32_t type = 0;
    Bytes request = {};
    uint8_t* answer = nullptr;  // where the answer goes; null: it is not wanted
    size_t capacity = 0;        // bytes there
    uint32_t timeLimitMs = 0;   // 0: none
};

// What came of it. length is the answer's, as the library tells it: a broken library may claim more
// than the capacity.
struct Outcome {
    uint32_t result = kOk;  // a protocol result
    size_t length = 0;      // bytes; 0 without an answer
};

// Who answers: the virtual dock, or something in front of or in place of it. Called from any
// thread, by several at once; blocks until the answer is there.
class Endpoint {
  public:
    virtual Outcome exchange(const Exchange& exchange) = 0;

  protected:
    ~Endpoint() = default;
};

enum class Library : uint8_t { kChargelink, kReverselink };

// Both are provided by what the C functions are linked with, and hidden there, so that two
// libraries of one name in a process keep to their own. startEndpoint returns what the library's
// initialisation does, 0 for success.
int startEndpoint(Library library);
Endpoint& endpoint();

}  // namespace virtual_dock
