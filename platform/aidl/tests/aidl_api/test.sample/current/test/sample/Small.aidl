// The API of test.sample.Small, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
parcelable Small {
  int number = 5;
  String text = "five";
}
