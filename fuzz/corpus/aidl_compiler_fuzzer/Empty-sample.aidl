package a;

@VintfStability
parcelable T {
}
