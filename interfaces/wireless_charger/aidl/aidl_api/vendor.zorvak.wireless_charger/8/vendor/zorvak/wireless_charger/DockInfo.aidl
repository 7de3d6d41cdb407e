// The API of vendor.zorvak.wireless_charger.DockInfo, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable DockInfo {
  String infoText0;
  String infoText1;
  String infoText2;
  int dockValue;
  boolean getInfoSupported;
  vendor.zorvak.wireless_charger.FirmwareVersion firmwareVersion;
  byte flagBits;
  byte dockKind = 15;
  String qiId;
  String extraText;
  byte compatibility = -1;
  @nullable vendor.zorvak.wireless_charger.FirmwareVersion extraFirmwareVersion;
}
