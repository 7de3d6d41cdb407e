// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chargelink.h>
#include <reverselink.h>

#include <string>
#include <vector>

#include "recorder_library.h"

namespace virtual_dock {

// The libraries that do the work. Exchanges become calls of their functions, with the caller's own
// areas wherever a function takes any. Exchanges from any thread once load() has returned.
class RealLibraries final : public Endpoint {
  public:
    // Loads the library from the path in $CHARGELINK_REAL ($REVERSELINK_REAL), else takes what
    // findNext finds. False, with the problem and what to set, when a function of it is missing.
    // Once for each library.
    bool load(Library library, FindNext findNext, std::string* problem);

    // What the library's initialisation returns; after a load that succeeded.
    int initialise(Library library) const;

    // The path of each library; for one not loaded yet what the environment says.
    std::vector<std::string> paths() const;

    Outcome exchange(const Exchange& exchange) override;

  private:
    struct Chargelink {
        decltype(&::initWlcProto) initWlcProto;
        decltype(&::getWlcInfo) getWlcInfo;
        decltype(&::getWLCAlignment) getWLCAlignment;
        decltype(&::getFeature) getFeature;
        decltype(&::setFeature) setFeature;
        decltype(&::sendBidiRequest) sendBidiRequest;
        decltype(&::sendPropRequest) sendPropRequest;
        decltype(&::sendWpcAuthRequest) sendWpcAuthRequest;
        decltype(&::getPacketTlv) getPacketTlv;
        decltype(&::setQiId) setQiId;
        decltype(&::setAuthStart) setAuthStart;
        decltype(&::uploadFwUpdateData) uploadFwUpdateData;
    };
    struct Reverselink {
        decltype(&::initRtxProto) initRtxProto;
        decltype(&::sendRtxRequest) sendRtxRequest;
    };

    Outcome exchangeFramed(const Exchange& exchange) const;
    Outcome findElement(const Exchange& exchange) const;

    Chargelink mChargelink = {};
    Reverselink mReverselink = {};
    bool mHasChargelink = false;
    bool mHasReverselink = false;
};

}  // namespace virtual_dock
