// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WirelessCharger.h"
#include "fake_protocol.h"

namespace aidl::vendor::zorvak::wireless_charger {

/**
 * The service for one input: on fake libraries that know no script yet, silent, and without events.
 * There is one for all inputs; it is never destroyed. For one thread.
 */
WirelessCharger& chargerUnderFuzz();

}  // namespace aidl::vendor::zorvak::wireless_charger
