// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// What scripted_links.cpp does for a bidi request of each type.
namespace scripted {

enum Type : int32_t {
    kReverse = 1,    // the request backwards
    kBoast = 2,      // fills the area and claims kBoastedLength bytes
    kAskItself = 3,  // calls one of its own functions by its name
    kDie = 4,
    kWait = 5,  // until another thread asks for kRelease
    kRelease = 6,
};
constexpr size_t kBoastedLength = SIZE_MAX;

}  // namespace scripted
