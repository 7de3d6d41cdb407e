// The API of vendor.zorvak.wireless_charger.PowerInfo, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable PowerInfo {
  int maxPower = -1;
  int negotiatedPower = -1;
  byte limitReason;
}
