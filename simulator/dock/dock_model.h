// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "../exchange.h"
#include "certificates.h"
#include "charger.h"
#include "dock_information.h"
#include "fans.h"
#include "firmware.h"
#include "packet.h"
#include "progress_uploads.h"
#include "protocol.h"
#include "reverse_transmit.h"
#include "secret_exchange.h"
#include "uevent.h"

namespace virtual_dock {

// Everything the virtual dock is: its phone side, its dock side, the device on the phone's back. A
// fresh one is the dock as it is after `dockctl reset`. A value type, guarded by its owner.
struct DockModel {
    Charger charger;
    Features features;
    Fans fans;
    ReverseTransmit rtx;
    DockInformation information;
    ProgressUploads uploads;
    WpcAuthenticator authenticator;
    SecretExchange secrets;
    FirmwareUpdater firmware;

    uint32_t qiId = 0;        // as the service handed it over
    uint32_t authStarts = 0;  // how often authentication was started
    bool authReady = true;

    // The dock's answer to an exchange, whatever the caller has room for. *event is what the
    // request made happen.
    Result answer(const Exchange& exchange, AnswerBuffer* answer, Event* event, int64_t nowNs);

    // Dock information tells the version that runs, from a restart on.
    void showFirmwareVersion();

  private:
    Result answerBidi(int32_t type, Bytes request, AnswerBuffer* answer, Event* event,
                      int64_t nowNs);
    Result answerProp(int32_t type, Bytes request, AnswerBuffer* answer, Event* event,
                      int64_t nowNs);
    Result answerFramed(const Exchange& exchange, AnswerBuffer* answer, Event* event,
                        int64_t nowNs);
    Result setFeature(Bytes request);
    Result startAuthentication();
    Result upload(Bytes request);
    void take(FirmwareEffect effect, Event* event);
};

}  // namespace virtual_dock
