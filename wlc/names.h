// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

// Human-readable names of the interface's codes. A code without a name is shown as the number that
// the charger reports.
namespace wlc {

std::string errorName(int code);     // "INVALID_ARGUMENT"; "ERROR_12" for an unknown code
std::string errorMeaning(int code);  // one line, without a period

std::string qiSpecName(int32_t code);        // 0x1301 "Qi 1.3.1"
std::string compatibilityName(int8_t code);  // -2 "incompatible"
std::string limitReasonName(int8_t code);    // 0 "no limit or unknown"
std::string dockKindName(int8_t code);       // 15 "unknown"
std::string alignmentName(int8_t code);      // 0 to 3
std::string rtxModeName(int8_t code);        // 1 "active"
std::string rtxErrorName(int8_t code);       // 0 "none"
std::string manufacturerName(int32_t code);  // "0x0072"; 0 "unknown"
std::string executeStatusName(int8_t code);  // 1 "chunks are missing"
std::string updateStatusName(int8_t code);   // as returned by a status query
std::string powerText(int32_t power);        // "12000 (vendor-defined unit)"; -1 "unknown"
std::string featureNames(int64_t features);  // "FAN_CONTROL | 0x100"; 0 "none"

// The inverse for one name, in either case. Throws badUsage with the valid names.
int64_t featureBit(const std::string& name);

}  // namespace wlc
