// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The dock's answer to a chunk of firmware. */
@VintfStability
parcelable ChunkResponse {
    /** The dock's boost temperature, in degrees Celsius, -128 to 127. */
    byte boostTemp;
    /** Its puck temperature, likewise. */
    byte puckTemp;
    /** Number of the chunk the dock wants next, 0 to 65535. */
    int next;
}
