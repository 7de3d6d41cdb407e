// SPDX-License-Identifier: Apache-2.0
package test.sample;

@VintfStability
oneway interface ISilent {
    /**
     * Says nothing.
     * Not even to nobody.
     */
    void hush(in Small what, @nullable ISilent next);
}
