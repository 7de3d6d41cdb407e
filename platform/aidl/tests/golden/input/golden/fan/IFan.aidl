// SPDX-License-Identifier: Apache-2.0
package golden.fan;

import golden.fan.Event;
import golden.fan.Fan;
import golden.fan.IFan;
import golden.fan.Mode;

/** The fan. */
@VintfStability
interface IFan {
    const int MAX_LEVEL = 1 << 3;

    /**
     * Sets it.
     * Fails with error 1 when the level is too high.
     */
    Fan set(byte index, Mode mode, in byte[] data);
    oneway void happened(in Event event, @nullable IFan sender);
    void read(out int[] levels);
}
