// SPDX-License-Identifier: Apache-2.0
package golden.fan;

/** How the fan runs. */
@VintfStability
@Backing(type="byte")
enum Mode {
    AUTO = 0,
    /** At the given level. */
    MANUAL,
}
