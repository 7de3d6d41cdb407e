// SPDX-License-Identifier: Apache-2.0
package example;

import example.Reading;

interface IThermometer {
    /** Temperature at the sensor, 0 to 3. EX_ILLEGAL_ARGUMENT for any other. */
    Reading read(int sensor);
}
