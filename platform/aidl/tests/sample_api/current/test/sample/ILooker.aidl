// The API of test.sample.ILooker, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
interface ILooker {
  test.sample.Everything turn(in test.sample.Everything what, test.sample.Mode mode, @nullable String note) = 10;
  oneway void look(in test.sample.Choice choice, test.sample.ILooker back) = 12;
  void fill(out int[] numbers, inout List<String> words, out byte[4] key, int count) = 11;
  @nullable String[] names(@nullable IBinder binder, in ParcelFileDescriptor file) = 13;
  @nullable test.sample.ILooker other(boolean yes, byte small, char letter, long large, float ratio, double precise) = 14;
  const int MAX_SIZE = 16;
  const String GREETING = "hello";
}
