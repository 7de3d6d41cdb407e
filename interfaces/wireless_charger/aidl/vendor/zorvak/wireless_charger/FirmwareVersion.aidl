// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** A firmware version of the dock. */
@VintfStability
parcelable FirmwareVersion {
    /** 0 to 255 when the dock reports it; only the low byte is sent. */
    int major;
    /** As major. */
    int minor;
    /** Free text, may be empty; sent only by the untargeted update, then at most 247 bytes. */
    String name;
}
