// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.AlignInfo;

/** Told when the phone's alignment on the dock changes. */
@VintfStability
oneway interface IWirelessChargerInfoCallback {
    /**
     * Calls arrive one after the other, in the order of the events. A subscriber that does not
     * read them is dropped and has to register again.
     */
    void alignChanged(in AlignInfo info);
}
