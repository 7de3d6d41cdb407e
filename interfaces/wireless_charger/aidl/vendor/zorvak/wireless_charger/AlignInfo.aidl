// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** How the phone lies on the dock. */
@VintfStability
parcelable AlignInfo {
    /** 0 to 3; 3 also when charging has just gone off. 2 until the charger has been asked. */
    byte status = 2;
    /** As the charger reports it, unchanged, like the two values. */
    byte subStatus;
    /** First value of the charger, in its unit. */
    int value1;
    /** Second value of the charger, in its unit. */
    int value2;
}
