// The API of test.sample.Mode, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@Backing(type="int") @VintfStability
enum Mode {
  OFF = -1,
  AUTO = 0,
  DEFAULT = 0,
  FAST = 16,
  TOP = 31,
}
