package a;


/** The fan. */
@VintfStability
interface IT {
    const int MAX_LEVEL = 1 << 3;

    /**
     * Sets it.
     * Fails with error 1 when the level is too high.
     */
    Rec set(byte index, Color mode, in byte[] data);
    oneway void happened(in Choice event, @nullable IT sender);
    void read(out int[] levels);
}
