// The API of vendor.zorvak.wireless_charger.WpcAuthDigests, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
parcelable WpcAuthDigests {
  byte slotPopulatedMask;
  byte digestMask;
  byte[32] digest0;
  byte[32] digest1;
  byte[32] digest2;
  byte[32] digest3;
}
