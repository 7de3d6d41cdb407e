// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.DockInfo;
import vendor.zorvak.wireless_charger.PhoneInfo;
import vendor.zorvak.wireless_charger.PowerInfo;

/** What a client tells the service with updateInformation. */
@VintfStability
union WlcInfo {
    /** Ignored by this version. */
    PhoneInfo phoneInfo;
    /** Only the field qiId is used. */
    DockInfo dockInfo;
    /** Ignored by this version. */
    PowerInfo powerInfo;
}
