// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Status of reverse transmit, in which the phone charges another device laid on its back. */
@VintfStability
parcelable RtxStatusInfo {
    /** 1 active, 2 available, 0 otherwise or unknown. */
    byte mode;
    /** Power receiver manufacturer code of the other device, 0 when not known. */
    int prmc;
    /** Whether another device is there. */
    boolean connected;
    /** First reading, in thousands of what the charger reports; 0 when not known. */
    int readingA;
    /** Second reading, likewise. */
    int readingB;
    /** Charge level of the other device as it reports it, 0 when not known. */
    int deviceLevel;
    /** 0 none, 1 to 5 as the charger reports them, 15 other or not yet read. */
    byte errorType = 15;
}
