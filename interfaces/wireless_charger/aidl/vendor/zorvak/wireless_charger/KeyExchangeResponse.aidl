// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** The dock's answer to a key exchange. */
@VintfStability
parcelable KeyExchangeResponse {
    /** First byte of the answer, as the dock sends it. */
    byte header;
    /** 32 bytes. */
    byte[] key;
}
