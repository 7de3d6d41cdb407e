// The API of vendor.zorvak.wireless_charger.WirelessChargerFeature, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@Backing(type="long") @VintfStability
enum WirelessChargerFeature {
  NONE = 0,
  EXTENDED_POWER = 1,
  REVERSE_TRANSMIT = 2,
  FAN_CONTROL = 4,
  AUTHENTICATION = 8,
  FIRMWARE_UPDATE = 16,
  QUIET_MODE = 32,
}
