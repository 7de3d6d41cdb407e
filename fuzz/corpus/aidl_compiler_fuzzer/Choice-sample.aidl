package a;


/** One of these. */
@VintfStability
union T {
    int number = 42;
    Rec small;
    String text;
    byte[] bytes;
    @nullable Rec maybe;
    byte[4] key;
    String[] words;
    boolean flag;
}
