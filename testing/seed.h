// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace test_support {

// The seed of a random test: $TEST_SEED when that is set, else another one each time. Prints it, so
// that a failure can be repeated.
unsigned randomSeed();

}  // namespace test_support
