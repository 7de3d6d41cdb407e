// The API of test.sample.ILooker, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
interface ILooker {
  test.sample.Everything turn(in test.sample.Everything what, test.sample.Mode mode, @nullable String note);
  oneway void look(in test.sample.Choice choice, test.sample.ILooker back);
  void fill(out int[] numbers, inout List<String> words, out byte[4] key, int count);
  @nullable String[] names(@nullable IBinder binder, in ParcelFileDescriptor file, char letter, double precise);
  const int MAX_SIZE = 16;
  const String GREETING = "hello";
}
