// The API of vendor.zorvak.wireless_charger.RtxStatusInfo, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable RtxStatusInfo {
  byte mode;
  int prmc;
  boolean connected;
  int readingA;
  int readingB;
  int deviceLevel;
  byte errorType = 15;
}
