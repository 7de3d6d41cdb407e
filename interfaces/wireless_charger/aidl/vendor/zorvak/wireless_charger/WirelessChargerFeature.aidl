// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/**
 * Features of the charger, a bit each. The service hands the values to the charger and back
 * unchanged; a value may hold bits that have no name here.
 */
@VintfStability
@Backing(type="long")
enum WirelessChargerFeature {
    /** No feature. */
    NONE = 0,
    /** Charging above the baseline power of the Qi specification. */
    EXTENDED_POWER = 1 << 0,
    /** The phone may charge another device laid on its back. */
    REVERSE_TRANSMIT = 1 << 1,
    /** The dock's fans may be set. */
    FAN_CONTROL = 1 << 2,
    /** The dock authenticates itself. */
    AUTHENTICATION = 1 << 3,
    /** The dock takes new firmware. */
    FIRMWARE_UPDATE = 1 << 4,
    /** The dock keeps its fans and its power low. */
    QUIET_MODE = 1 << 5,
}
