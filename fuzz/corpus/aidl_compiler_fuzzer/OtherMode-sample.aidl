package a;

@VintfStability
@Backing(type="long")
enum T {
    AUTO = 0x8000000000000000,
    DEFAULT = 7,
}
