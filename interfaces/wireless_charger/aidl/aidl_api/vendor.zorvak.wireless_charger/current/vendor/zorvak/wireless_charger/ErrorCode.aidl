// The API of vendor.zorvak.wireless_charger.ErrorCode, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@Backing(type="int") @VintfStability
enum ErrorCode {
  INVALID_ARGUMENT = 1,
  INVALID_RESPONSE = 2,
  REFUSED = 3,
  UNAVAILABLE = 4,
  ALREADY_EXISTS = 5,
  TIMED_OUT = 6,
  FAILED = 7,
  IO_ERROR = 8,
  UNSUPPORTED = 9,
  BUSY = 10,
}
