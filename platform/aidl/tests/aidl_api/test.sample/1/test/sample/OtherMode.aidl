// The API of test.sample.OtherMode, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@Backing(type="long") @VintfStability
enum OtherMode {
  AUTO = 0x8000000000000000,
  DEFAULT = 7,
}
