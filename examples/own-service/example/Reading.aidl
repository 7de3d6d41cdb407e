// SPDX-License-Identifier: Apache-2.0
package example;

parcelable Reading {
    /** In tenths of a degree Celsius. */
    int temperature;
    @utf8InCpp String place;
}
