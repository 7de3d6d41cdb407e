// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** What the dock takes as firmware by the untargeted commands. */
@VintfStability
parcelable UpdateInfo {
    /** Largest image, in bytes. */
    int maxSize;
    /** Byte 4 of the answer, which is also the top byte of maxSize. */
    byte infoByte4;
    /** Byte 5 of the answer. */
    byte infoByte5;
}
