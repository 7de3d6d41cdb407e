// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The dock's answer to a chunk of firmware. */
@VintfStability
parcelable ChunkResponse {
    /** Temperatures in degrees Celsius. */
    byte boostTemp;
    byte puckTemp;
    /** Number of the chunk the dock wants next, 0 to 65535. */
    int next;
}
