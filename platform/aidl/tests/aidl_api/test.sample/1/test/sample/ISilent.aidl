// The API of test.sample.ISilent, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package test.sample;
@VintfStability
oneway interface ISilent {
  void hush(in test.sample.Small what, @nullable test.sample.ISilent next);
}
