// The API of vendor.zorvak.wireless_charger.DockPresent, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable DockPresent {
  boolean docked;
  byte dockKind = 15;
  byte dockClass;
  boolean getInfoSupported;
  int id;
  int ptmc;
  int product;
}
