// The API of test.sample.Choice, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
union Choice {
  int number = 42;
  test.sample.Small small;
  String text;
  byte[] bytes;
  @nullable test.sample.Small maybe;
  byte[4] key;
  String[] words;
}
