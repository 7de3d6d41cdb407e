package a;


/** Looks at things. */
@VintfStability
interface IT {
    const int MAX_SIZE = 16;
    const String GREETING = "hello";

    /**
     * Turns all of it around.
     *
     * @deprecated use look
     */
    Rec turn(in Rec what, Color mode, @nullable String note) = 10;
    oneway void look(in Choice choice, IT back) = 12;
    void fill(out int[] numbers, inout List<String> words, out byte[4] key, int count) = 11;
    @nullable String[] names(@nullable IBinder binder, in ParcelFileDescriptor file) = 13;
    @nullable IT other(boolean yes, byte small, char letter, long large, float ratio, double precise) = 14;
}
