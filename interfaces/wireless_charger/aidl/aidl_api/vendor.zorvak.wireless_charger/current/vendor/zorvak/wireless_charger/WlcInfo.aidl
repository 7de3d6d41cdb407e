// The API of vendor.zorvak.wireless_charger.WlcInfo, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
union WlcInfo {
  vendor.zorvak.wireless_charger.PhoneInfo phoneInfo;
  vendor.zorvak.wireless_charger.DockInfo dockInfo;
  vendor.zorvak.wireless_charger.PowerInfo powerInfo;
}
