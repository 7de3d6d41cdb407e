// SPDX-License-Identifier: Apache-2.0
// Clients subscribe, unsubscribe and die.

#include "WirelessCharger.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

ScopedAStatus WirelessCharger::registerCallback(
    const std::shared_ptr<IWirelessChargerInfoCallback>& callback) {
    return registerIn(infoSubscribers(), callback, "registerCallback", this);
}

ScopedAStatus WirelessCharger::registerRtxCallback(
    const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) {
    return registerIn(rtxSubscribers(), callback, "registerRtxCallback", this);
}

ScopedAStatus WirelessCharger::registerFanLevelChangedCallback(
    const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) {
    return registerIn(fanSubscribers(), callback, "registerFanLevelChangedCallback", this);
}

ScopedAStatus WirelessCharger::unregisterCallback(
    const std::shared_ptr<IWirelessChargerInfoCallback>& callback) {
    return unregisterIn(infoSubscribers(), callback, "unregisterCallback");
}

ScopedAStatus WirelessCharger::unregisterRtxCallback(
    const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) {
    return unregisterIn(rtxSubscribers(), callback, "unregisterRtxCallback");
}

ScopedAStatus WirelessCharger::unregisterFanLevelChangedCallback(
    const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) {
    // Its message has always named the interface.
    return unregisterIn(fanSubscribers(), callback, "IWirelessChargerFanLevelChangedCallback");
}

void WirelessCharger::onInfoCallbackDeath(void* cookie) {
    handleDeath("onInfoCallbackDeath", static_cast<WirelessCharger*>(cookie),
                &WirelessCharger::infoSubscribers);
}

void WirelessCharger::onRtxCallbackDeath(void* cookie) {
    handleDeath("onRtxCallbackDeath", static_cast<WirelessCharger*>(cookie),
                &WirelessCharger::rtxSubscribers);
}

void WirelessCharger::onFanCallbackDeath(void* cookie) {
    handleDeath("onFanCallbackDeath", static_cast<WirelessCharger*>(cookie),
                &WirelessCharger::fanSubscribers);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
