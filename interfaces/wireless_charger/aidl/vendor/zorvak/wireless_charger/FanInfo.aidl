// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** State of one fan of the dock. */
@VintfStability
parcelable FanInfo {
    /** Whether the dock knows the fan and the request was right; the rest counts only then. */
    boolean valid;
    /** 0 to 65535, in the dock's unit. */
    char level;
    /** Readings of the fan, 0 to 65535 in the dock's units; 0 in the answer of setFan. */
    char fanValue1;
    char fanValue2;
    char fanValue3;
}
