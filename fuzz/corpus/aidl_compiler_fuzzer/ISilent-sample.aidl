package a;

@VintfStability
oneway interface IT {
}
