// SPDX-License-Identifier: Apache-2.0
package golden.fan;

import golden.fan.Mode;

@VintfStability
parcelable Fan {
    /** How it runs. */
    Mode mode = Mode.MANUAL;
    @nullable String name;
    byte[2] speed;
}
