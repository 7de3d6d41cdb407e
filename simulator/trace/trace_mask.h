// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "trace_entry.h"

namespace virtual_dock {

// Replaces what identifies a dock or a phone, and what is secret, in the entries of a trace
// (docs/traces.md lists it). The same value gets the same mask, of its length, in every entry that
// the same object masks, so the masked trace replays. Masks are numbered: nothing can be computed
// from them. Values of one or two bytes may get a mask that another one has. One thread.
class TraceMask {
  public:
    // firmware: images are masked as well.
    explicit TraceMask(bool firmware) : mFirmware(firmware) {}

    void apply(TraceExchange* exchange);

  private:
    void mask(std::vector<uint8_t>* bytes, size_t from, size_t size);
    void maskTexts(std::vector<uint8_t>* packet);

    const bool mFirmware;
    std::map<std::vector<uint8_t>, uint32_t> mNumbers;
};

}  // namespace virtual_dock
