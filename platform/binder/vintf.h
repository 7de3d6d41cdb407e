// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the device's VINTF manifest. Of a fragment it reads what names an AIDL instance:
// within each <hal>, the <name> of the package and each <fqname>, or each <interface> with its
// <name> and <instance>s. It is not an XML validator.
#pragma once

#include <string>
#include <string_view>

namespace android::host {

// Whether a fragment `xml` declares the instance, as "package.IInterface/instance".
bool declares(std::string_view xml, std::string_view instance);

// Whether any of the *.xml files in the folder does.
bool isDeclaredIn(const std::string& folder, std::string_view instance);

}  // namespace android::host
