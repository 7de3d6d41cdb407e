// SPDX-License-Identifier: Apache-2.0
#include "seed.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace test_support {

unsigned randomSeed() {
    const char* const given = std::getenv("TEST_SEED");
    const unsigned seed = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                           : std::random_device()();
    std::printf("seed %u; TEST_SEED=%u repeats it\n", seed, seed);
    std::fflush(stdout);
    return seed;
}

}  // namespace test_support
