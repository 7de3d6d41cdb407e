// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** State of one fan of the dock. */
@VintfStability
parcelable FanInfo {
    /** Whether the dock knows the fan and the request was right; the rest counts only then. */
    boolean valid;
    /** 0 to 65535, in the dock's unit. */
    char level;
    /** First reading of the fan, 0 to 65535 in the dock's unit; 0 in the answer of setFan. */
    char fanValue1;
    /** Second reading, likewise. */
    char fanValue2;
    /** Third reading, likewise. */
    char fanValue3;
}
