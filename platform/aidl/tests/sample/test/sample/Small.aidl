// SPDX-License-Identifier: Apache-2.0
package test.sample;

@VintfStability
parcelable Small {
    int number = 5;
    String text = "five";
}
