package a;

@VintfStability
@Backing(type="int")
enum T {
    OFF = -1,
    AUTO,
    /** The same as AUTO. */
    DEFAULT = AUTO,
    FAST = 1 << 4,
    TOP = FAST | 0x0f,
}
