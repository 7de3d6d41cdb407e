// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The dock's answer to the start of a firmware update. */
@VintfStability
parcelable FwUpdateStartResponse {
    /** 1 when the dock continues an earlier transfer, 0 when it begins anew. */
    byte resume;
    /** Chunk size the dock wants, in bytes: 0 to 255, to be read unsigned. */
    byte chunkSize;
    /**
     * What the dock already has, in percent; below 0 when the dock reports more than 100 missing.
     */
    int progress;
    /** The target that answers. */
    byte target;
}
