// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/** How a fan of the dock is driven. The dock ignores a fan setting with any other value. */
@VintfStability
@Backing(type="byte")
enum FanMode {
    /** The dock chooses the level. */
    AUTO = 0,
    /** The fan runs at the level that is given. */
    MANUAL = 1,
}
