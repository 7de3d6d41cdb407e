// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

/**
 * The service-specific errors of every method of IWirelessCharger. Any other error of a call comes
 * from binder itself.
 */
@VintfStability
@Backing(type="int")
enum ErrorCode {
    /**
     * An argument is out of its range, a callback is null, or the dock calls the request invalid.
     */
    INVALID_ARGUMENT = 1,
    /** The answer's type, length or contents do not fit the request. */
    INVALID_RESPONSE = 2,
    /** The charger refuses the request in its present state. */
    REFUSED = 3,
    /** The charger has no such value now; usually no dock is there. */
    UNAVAILABLE = 4,
    /** The callback is registered already, or the charger is already doing what was asked. */
    ALREADY_EXISTS = 5,
    /** The dock or the charger did not answer in time. */
    TIMED_OUT = 6,
    /** Failed for a reason that has no code of its own. Every failure of setRtxMode is this. */
    FAILED = 7,
    /** Communication with the dock or the charger failed. */
    IO_ERROR = 8,
    /** The dock does not speak this request or this version of the protocol. */
    UNSUPPORTED = 9,
    /** The dock is busy; try again later. */
    BUSY = 10,
}
