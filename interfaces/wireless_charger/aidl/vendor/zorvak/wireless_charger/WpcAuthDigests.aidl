// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** Digests of the dock's certificate chains: the DIGESTS message of Qi authentication. */
@VintfStability
parcelable WpcAuthDigests {
    /** Bit n: slot n holds a chain. */
    byte slotPopulatedMask;
    /** Bit n: the digest of slot n is below. */
    byte digestMask;
    /** SHA-256 of the chain in slot 0; zeros where the mask has no bit. */
    byte[32] digest0;
    /** The same of slot 1. */
    byte[32] digest1;
    /** The same of slot 2. */
    byte[32] digest2;
    /** The same of slot 3. */
    byte[32] digest3;
}
