// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** How far the dock is with applying an image, by the untargeted commands. */
@VintfStability
parcelable UpdateStatus {
    /** 0 to 2; 0 also when the dock reports anything else. */
    byte status;
    /** As the dock reports it, percent. */
    byte progress;
}
