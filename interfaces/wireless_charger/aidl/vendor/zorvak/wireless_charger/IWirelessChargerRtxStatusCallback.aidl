// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.RtxStatusInfo;

/** Told when reverse transmit changes. */
@VintfStability
oneway interface IWirelessChargerRtxStatusCallback {
    /**
     * The status has changed. Order and dropping as with IWirelessChargerInfoCallback.
     *
     * @param info as getRtxInformation gives it.
     */
    void statusChanged(in RtxStatusInfo info);
}
