// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Told when the dock's fan level changes. */
@VintfStability
oneway interface IWirelessChargerFanLevelChangedCallback {
    /** level is that of getFanLevel. Order and dropping as with IWirelessChargerInfoCallback. */
    void fanLevelChanged(int level);
}
