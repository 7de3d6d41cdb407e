// SPDX-License-Identifier: Apache-2.0
package test.sample;

import test.sample.Choice;

/** Looks at things. */
@VintfStability
interface ILooker {
    const int MAX_SIZE = 16;
    const String GREETING = "hello";

    Everything turn(in Everything what, Mode mode, @nullable String note);
    oneway void look(in Choice choice, ILooker back);
    void fill(out int[] numbers, inout List<String> words, out byte[4] key, int count);
    @nullable String[] names(@nullable IBinder binder, in ParcelFileDescriptor file, char letter, double precise);
}
