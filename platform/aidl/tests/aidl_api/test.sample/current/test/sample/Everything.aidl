// The API of test.sample.Everything, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@JavaDerive(toString=true, equals=true) @VintfStability
parcelable Everything {
  boolean flag = true;
  byte small = -128;
  char letter = 'a';
  int number = 42;
  long large = 1099511627776;
  float ratio = 1.5f;
  double precise = -0.25;
  String text = "it's a text";
  test.sample.Mode mode = test.sample.Mode.DEFAULT;
  test.sample.OtherMode otherMode = test.sample.OtherMode.DEFAULT;
  test.sample.Mode plainMode;
  test.sample.Small inner;
  test.sample.Empty nothing;
  test.sample.Choice choice;
  byte[] bytes = {1, -1};
  boolean[] flags = {true, false};
  int[] numbers = {6, -5};
  String[] texts = {"a", "b"};
  test.sample.Mode[] modes = {test.sample.Mode.AUTO, test.sample.Mode.FAST};
  test.sample.Small[] inners;
  List<String> list;
  List<test.sample.Small> records;
  byte[6] key = {1, 2, 3, 4, 5, -1};
  int[2] pair;
  test.sample.Small[2] twins;
  String[2] names = {"x", "y"};
  @nullable String maybeText;
  @nullable test.sample.Small maybeInner;
  @nullable test.sample.Choice maybeChoice;
  @nullable byte[] maybeBytes;
  @nullable String[] maybeTexts;
  @nullable test.sample.Small[] maybeInners;
  @nullable int[2] maybePair;
  @nullable IBinder binder;
  @nullable test.sample.ILooker looker;
  @nullable ParcelFileDescriptor file;
  @nullable test.sample.ILooker[] lookers;
  const int LIMIT = 6;
  const String NAME = "everything";
  const boolean YES = true;
  const byte LOW = -128;
  const long FAR = 9223372036854775807;
  const float HALF = 0.5f;
  const double TINY = -0.0015;
  const char LETTER = 'x';
}
