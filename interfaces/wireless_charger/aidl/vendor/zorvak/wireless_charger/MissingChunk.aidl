// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** What is missing of an image, by the untargeted commands. */
@VintfStability
parcelable MissingChunk {
    /** First missing chunk, 0 to 65535. */
    char chunkNumber;
    /** How many chunks are missing from there, 0 to 65535. */
    char numChunks;
}
