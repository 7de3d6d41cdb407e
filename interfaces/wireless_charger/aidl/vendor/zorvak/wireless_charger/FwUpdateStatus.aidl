// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** How far the dock is with applying an image. */
@VintfStability
parcelable FwUpdateStatus {
    /** 0 to 2 as the dock reports them; 16 anything else. */
    byte status;
    /** As the dock reports it, percent. */
    byte progress;
    /** The target that answers. */
    byte target;
}
