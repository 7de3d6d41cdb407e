// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.AlignInfo;

/** Told when the phone's alignment on the dock changes. */
@VintfStability
oneway interface IWirelessChargerInfoCallback {
    /**
     * The alignment has changed. Calls arrive one after the other, in the order of the events. A
     * subscriber that does not read them is dropped and has to register again.
     *
     * @param info as getAlignInfo gives it; status 3 when charging has just gone off.
     */
    void alignChanged(in AlignInfo info);
}
