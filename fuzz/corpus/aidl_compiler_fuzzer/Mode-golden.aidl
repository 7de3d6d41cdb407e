package a;

/** How the fan runs. */
@VintfStability
@Backing(type="byte")
enum T {
    AUTO = 0,
    /** At the given level. */
    MANUAL,
}
