// SPDX-License-Identifier: Apache-2.0
package test.sample;

/** A record with a field of each type; here are "quotes", a \backslash and an opening /* mark. */
@VintfStability
@JavaDerive(toString=true, equals=true)
parcelable Everything {
    const int LIMIT = 3 * (1 + 1);
    const String NAME = "everything";
    const boolean YES = true;
    const byte LOW = -128;
    const long FAR = 0x7fffffffffffffff;
    const float HALF = 0.5f;
    const double TINY = -1.5e-3;
    const char LETTER = 'x';

    boolean flag = true;
    byte small = -128;
    char letter = 'a';
    int number = LIMIT * 7;
    long large = 1L << 40;
    float ratio = 1.5f;
    double precise = -0.25;
    String text = "it's a text";
    Mode mode = Mode.DEFAULT;
    OtherMode otherMode = OtherMode.DEFAULT;
    Mode plainMode;
    Small inner;
    Empty nothing;
    Choice choice;
    byte[] bytes = {1, -1};
    boolean[] flags = {true, false};
    int[] numbers = {LIMIT, -5};
    String[] texts = {"a", "b"};
    Mode[] modes = {Mode.AUTO, Mode.FAST};
    Small[] inners;
    List<String> list;
    List<Small> records;
    byte[LIMIT] key = {1, 2, 3, 4, 5, 0xffu8};
    int[2] pair;
    Small[2] twins;
    String[2] names = {"x", "y"};
    @nullable String maybeText;
    @nullable Small maybeInner;
    @nullable Choice maybeChoice;
    @nullable byte[] maybeBytes;
    @nullable String[] maybeTexts;
    @nullable Small[] maybeInners;
    @nullable int[2] maybePair;
    @nullable IBinder binder;
    @nullable ILooker looker;
    @nullable ParcelFileDescriptor file;
    @nullable ILooker[] lookers;
}
