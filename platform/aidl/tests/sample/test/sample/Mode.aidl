// SPDX-License-Identifier: Apache-2.0
package test.sample;

@VintfStability
@Backing(type="int")
enum Mode {
    OFF = -1,
    AUTO,
    /** The same as AUTO. */
    DEFAULT = AUTO,
    FAST = 1 << 4,
    TOP = FAST | 0x0f,
}
