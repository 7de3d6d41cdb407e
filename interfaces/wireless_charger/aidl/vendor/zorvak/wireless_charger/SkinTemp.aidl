// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Temperatures that the dock reports, in degrees Celsius. */
@VintfStability
parcelable SkinTemp {
    /** Boost temperature, -128 to 127. */
    byte boostTemp;
    /** Puck temperature, -128 to 127. */
    byte puckTemp;
}
