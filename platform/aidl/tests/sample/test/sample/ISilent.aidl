// SPDX-License-Identifier: Apache-2.0
package test.sample;

@VintfStability
oneway interface ISilent {
}
