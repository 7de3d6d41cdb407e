// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Told when the dock's fan level changes. */
@VintfStability
oneway interface IWirelessChargerFanLevelChangedCallback {
    /**
     * The level has changed. Order and dropping as with IWirelessChargerInfoCallback.
     *
     * @param level as getFanLevel gives it.
     */
    void fanLevelChanged(int level);
}
