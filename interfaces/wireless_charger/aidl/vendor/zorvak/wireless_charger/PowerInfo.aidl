// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Charging power, in the charger's unit, and what limits it. */
@VintfStability
parcelable PowerInfo {
    /** -1 when it cannot be read. */
    int maxPower = -1;
    /** -1 when it cannot be read. */
    int negotiatedPower = -1;
    /** 2 to 8, 10 or 11 as the charger reports them; 0 none or unknown. */
    byte limitReason;
}
