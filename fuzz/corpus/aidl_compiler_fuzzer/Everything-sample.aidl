package a;


/**
 * A record with a field of each type.
 *
 * Comments may hold "quotes", \backslashes and /* opening marks.
 */
@VintfStability
@JavaDerive(toString=true, equals=true)
parcelable T {
    const int LIMIT = 3 * (1 + 1);
    const String NAME = "every" + "thing";
    const boolean YES = LIMIT > 5 && !(LIMIT == 7);
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
    String text = "it's a text ??/";
    Color mode = Color.RED;
    Color otherMode = Color.RED;
    Color plainMode;
    Rec inner;
    Rec nothing;
    Choice choice;
    byte[] bytes = {1, -1};
    boolean[] flags = {true, false};
    char[] letters = {'a', 'b'};
    int[] numbers = {LIMIT, -5};
    long[] larges;
    float[] ratios;
    double[] precises;
    String[] texts = {"a", "b"};
    Color[] modes = {Color.RED, Color.RED};
    Rec[] inners;
    List<String> list;
    List<Rec> records;
    byte[LIMIT] key = {1, 2, 3, 4, 5, 0xffu8};
    int[2] pair;
    Rec[2] twins;
    String[2] names;
    @nullable String maybeText;
    @nullable Rec maybeInner;
    @nullable Choice maybeChoice;
    @nullable byte[] maybeBytes;
    @nullable String[] maybeTexts;
    @nullable Rec[] maybeInners;
    @nullable int[2] maybePair;
    @nullable IBinder binder;
    @nullable IOther looker;
    @nullable ParcelFileDescriptor file;
    @nullable IOther[] lookers;
}
