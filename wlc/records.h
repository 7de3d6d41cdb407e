// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>

#include "report.h"

// Reports of the interface's records. JSON keys are the field names, in declaration order.
namespace wlc {

namespace charger = ::aidl::vendor::zorvak::wireless_charger;

Report describe(const charger::AlignInfo& info);
Report describe(const charger::DockInfo& info);
Report describe(const charger::DockPresent& present);
Report describe(const charger::FanInfo& info);
Report describe(const charger::FirmwareVersion& version);
Report describe(const charger::FwUpdateInfo& info);
Report describe(const charger::FwUpdateStatus& status);
Report describe(const charger::KeyExchangeResponse& response);
Report describe(const charger::PhoneInfo& info);
Report describe(const charger::PowerInfo& info);
Report describe(const charger::RtxStatusInfo& info);
Report describe(const charger::SkinTemp& temperatures);
Report describe(const charger::UpdateInfo& info);
Report describe(const charger::UpdateStatus& status);
Report describe(const charger::WpcAuthChallengeResponse& response);
Report describe(const charger::WpcAuthDigests& digests);

}  // namespace wlc
