// The API of vendor.zorvak.wireless_charger.AlignInfo, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable AlignInfo {
  byte status = 2;
  byte subStatus;
  int value1;
  int value2;
}
