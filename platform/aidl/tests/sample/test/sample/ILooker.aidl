// SPDX-License-Identifier: Apache-2.0
package test.sample;

import test.sample.Choice;
import test.sample.Everything;
import test.sample.Mode;

/** Looks at things. */
@VintfStability
interface ILooker {
    const int MAX_SIZE = 16;
    const String GREETING = "hello";

    /**
     * Turns all of it around.
     *
     * @deprecated use look
     */
    Everything turn(in Everything what, Mode mode, @nullable String note) = 10;
    oneway void look(in Choice choice, ILooker back) = 12;
    void fill(out int[] numbers, inout List<String> words, out byte[4] key, int count) = 11;
    @nullable String[] names(@nullable IBinder binder, in ParcelFileDescriptor file) = 13;
    @nullable ILooker other(boolean yes, byte small, char letter, long large, float ratio, double precise) = 14;
}
