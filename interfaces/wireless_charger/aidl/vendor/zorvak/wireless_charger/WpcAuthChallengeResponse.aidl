// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The dock's signed answer to a challenge: the CHALLENGE_AUTH message of Qi authentication. */
@VintfStability
parcelable WpcAuthChallengeResponse {
    /** 0 to 15. */
    byte maxProtocolVersion;
    /** Bit n: slot n holds a certificate chain. */
    byte slotPopulatedMask;
    /** Least significant byte of the hash of the chain that was used. */
    byte certChainHashLsb;
    /** First half of the ECDSA signature on P-256: 32 bytes, most significant first. */
    byte[] signatureR;
    /** Second half, likewise. */
    byte[] signatureS;
}
