// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>

#include <memory>
#include <string>
#include <vector>

#include "context.h"
#include "event_queue.h"

namespace wlc {

// Whether a list of event kinds ("align", "rtx", "fan") has this one; an empty list has all.
bool isWanted(const std::vector<std::string>& kinds, const char* kind);

// Subscriptions to the events of the service, one set at a time in a process. They are queued as
// they arrive; the queue is closed when the service dies. The binder thread pool has to run.
class EventSubscriptions {
  public:
    // To these kinds. Blocks for the calls; throws Failure.
    EventSubscriptions(Context& context, const std::vector<std::string>& kinds);
    // Unregisters. Errors are ignored: the service also drops a subscriber whose process ends.
    ~EventSubscriptions();
    EventSubscriptions(const EventSubscriptions&) = delete;
    EventSubscriptions& operator=(const EventSubscriptions&) = delete;

    // Never destroyed: a callback may run until the process ends.
    static EventQueue& queue();

  private:
    const Context& mContext;
    std::shared_ptr<charger::IWirelessCharger> mService;
    ndk::ScopedAIBinder_DeathRecipient mDeath;
    std::shared_ptr<charger::IWirelessChargerInfoCallback> mAlign;
    std::shared_ptr<charger::IWirelessChargerRtxStatusCallback> mRtx;
    std::shared_ptr<charger::IWirelessChargerFanLevelChangedCallback> mFan;
};

}  // namespace wlc
