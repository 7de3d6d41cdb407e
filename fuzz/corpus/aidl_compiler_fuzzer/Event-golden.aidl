package a;


@VintfStability
union T {
    int code = 7;
    Rec fan;
}
