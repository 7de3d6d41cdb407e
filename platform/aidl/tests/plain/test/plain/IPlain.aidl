// SPDX-License-Identifier: Apache-2.0
package test.plain;

interface IPlain {
    int twice(int number);
}
