// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.RtxStatusInfo;

/** Told when reverse transmit changes. */
@VintfStability
oneway interface IWirelessChargerRtxStatusCallback {
    /** Order and dropping as with IWirelessChargerInfoCallback. */
    void statusChanged(in RtxStatusInfo info);
}
