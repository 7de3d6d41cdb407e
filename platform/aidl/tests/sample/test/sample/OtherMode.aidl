// SPDX-License-Identifier: Apache-2.0
package test.sample;

@VintfStability
@Backing(type="long")
enum OtherMode {
    AUTO = 0x8000000000000000,
    DEFAULT = 7,
}
