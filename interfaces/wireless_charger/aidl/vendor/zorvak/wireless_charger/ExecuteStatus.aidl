// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** What the dock says when it is told to apply a firmware image. */
@VintfStability
@Backing(type="byte")
enum ExecuteStatus {
    /** The image is complete and is being applied; ask for the execution status. */
    ACCEPTED = 0,
    /** Chunks are missing; ask for the first missing chunk. */
    INCOMPLETE = 1,
    /** The image is complete but not valid for this dock. */
    INVALID_IMAGE = 2,
    /** The dock cannot apply an image now. */
    REFUSED = 3,
}
