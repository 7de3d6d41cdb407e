// The API of test.sample.Empty, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
parcelable Empty {
}
