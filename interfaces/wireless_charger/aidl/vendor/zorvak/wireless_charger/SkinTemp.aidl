// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Temperatures that the dock reports, in degrees Celsius. */
@VintfStability
parcelable SkinTemp {
    byte boostTemp;
    byte puckTemp;
}
