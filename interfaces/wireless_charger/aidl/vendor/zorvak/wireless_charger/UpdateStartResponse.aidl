// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Answer to the start of an untargeted update. Not reported by this version: every field is 0. */
@VintfStability
parcelable UpdateStartResponse {
    /** Always 0. */
    byte resume;
    /** Always 0. */
    byte chunkSize;
    /** Always 0. */
    byte progress;
}
