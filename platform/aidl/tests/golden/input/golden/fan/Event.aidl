// SPDX-License-Identifier: Apache-2.0
package golden.fan;

import golden.fan.Fan;

@VintfStability
union Event {
    int code = 7;
    Fan fan;
}
