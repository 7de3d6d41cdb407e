package a;


@VintfStability
parcelable T {
    /** How it runs. */
    Color mode = Color.RED;
    @nullable String name;
    byte[2] speed;
}
