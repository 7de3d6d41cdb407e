// The API of vendor.zorvak.wireless_charger.ExecuteStatus, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@Backing(type="byte") @VintfStability
enum ExecuteStatus {
  ACCEPTED = 0,
  INCOMPLETE = 1,
  INVALID_IMAGE = 2,
  REFUSED = 3,
}
