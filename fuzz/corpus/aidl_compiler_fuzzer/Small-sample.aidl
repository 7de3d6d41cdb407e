package a;

@VintfStability
parcelable T {
    int number = 5;
    String text = "five";
}
