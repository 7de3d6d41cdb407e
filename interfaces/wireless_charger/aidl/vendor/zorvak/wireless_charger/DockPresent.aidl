// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Whether the phone lies on a dock, and on which one. */
@VintfStability
parcelable DockPresent {
    /** Whether a dock is there; without one every other field has its default. */
    boolean docked;
    /** 0, 1, 2 or 4; 15 unknown or no dock. */
    byte dockKind = 15;
    /** 0 to 3. */
    byte dockClass;
    /** Whether the dock answers getInformation. */
    boolean getInfoSupported;
    /** The dock's identifier: 24 bits from a dock of the phone's maker, else all 32. */
    int id;
    /** Power transmitter manufacturer code of the Qi standard, 0 when not known. */
    int ptmc;
    /** The maker's product code, 0 when not known. */
    int product;
}
