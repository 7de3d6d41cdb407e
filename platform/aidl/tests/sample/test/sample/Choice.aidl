// SPDX-License-Identifier: Apache-2.0
package test.sample;

/** One of these. */
@VintfStability
union Choice {
    int number = 42;
    Small small;
    String text;
    byte[] bytes;
    @nullable Small maybe;
    byte[4] key;
    String[] words;
}
