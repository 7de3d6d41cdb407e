// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.FirmwareVersion;

/** What a target of the dock takes as firmware, and what it runs now. */
@VintfStability
parcelable FwUpdateInfo {
    /** The target that answers. */
    byte target;
    /** Largest image, in bytes. */
    int maxSize;
    /** Largest chunk, in bytes: 0 to 255, to be read unsigned. */
    byte maxChunkSize;
    /** The version that runs now; without a name. */
    FirmwareVersion version;
}
