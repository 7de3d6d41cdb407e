// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The phone's wireless power receiver. */
@VintfStability
parcelable PhoneInfo {
    /** Not reported by this version: empty. */
    String model;
    /** Not reported by this version: 0. */
    int receiverId;
    /**
     * Qi specification of the receiver: 0x1200, 0x1201, 0x1300, 0x1301, 0x2003, 0x2102 or 0x2203;
     * -1 none, 0 unknown.
     */
    int qiSpec;
}
