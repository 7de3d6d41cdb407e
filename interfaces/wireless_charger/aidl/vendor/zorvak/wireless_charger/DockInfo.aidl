// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.FirmwareVersion;

/**
 * Identity and state of the dock. The service keeps one record: getInformation fills it,
 * getDockInformation reads it, and it falls back to these defaults when charging goes off.
 */
@VintfStability
parcelable DockInfo {
    /** First text with which the dock describes itself; what is not UTF-8 is replaced. */
    String infoText0;
    /** Second text, likewise. */
    String infoText1;
    /** Third text, likewise. */
    String infoText2;
    /** Not reported by this version: 0. */
    int dockValue;
    /** Whether the dock answers the request for its information. */
    boolean getInfoSupported;
    /** The firmware that the dock runs. */
    FirmwareVersion firmwareVersion;
    /** The two lowest flag bits, 0 to 3. */
    byte flagBits;
    /** 0, 1, 2 or 4; 15 unknown. */
    byte dockKind = 15;
    /** The Qi ID as given to updateInformation, decimal. */
    String qiId;
    /** Not reported by this version: empty. */
    String extraText;
    /**
     * 1 to 7 and 127 as the charger reports them, 0 unknown, -1 not read or none, -2 incompatible.
     */
    byte compatibility = -1;
    /** Not reported by this version: absent. */
    @nullable FirmwareVersion extraFirmwareVersion;
}
