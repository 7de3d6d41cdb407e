// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** What is missing of an image in a target of the dock. */
@VintfStability
parcelable FwMissingChunk {
    /** The target that answers. */
    byte target;
    /** First missing chunk, 0 to 65535. */
    int chunkNumber;
    /** How many chunks are missing from there, 0 to 65535. */
    int numChunks;
}
