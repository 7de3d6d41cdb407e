// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace wlc {

using Json = nlohmann::ordered_json;

// One record for output: each field has a key, a JSON value and a text. In text mode a field's
// label is its key in words ("maxPower": "max power").
class Report {
  public:
    // `text` is shown in text mode instead of the value.
    Report& field(const std::string& key, Json value, std::string text);
    // In text mode: booleans as yes and no, strings escaped.
    Report& field(const std::string& key, Json value);
    // A nested record: an object in JSON, fields "key field" in text mode.
    Report& nested(const std::string& key, const Report& record);
    // The fields of another record.
    Report& append(const Report& record);
    // A number whose meaning and unit only the vendor knows: "reading 1 (vendor-defined)".
    Report& reading(const std::string& key, int64_t value, const std::string& name);
    // Number and name: "3 (not charging)".
    Report& code(const std::string& key, int64_t value, const std::string& name);
    Report& hexCode(const std::string& key, int64_t value, const std::string& name);

    const Json& json() const { return mJson; }
    // One line per field, values aligned.
    std::string lines() const;
    // One line without a line feed: "status 3 (not charging), sub status 0".
    std::string line() const;

  private:
    Json mJson = Json::object();
    std::vector<std::pair<std::string, std::string>> mRows;
};

// JSON on one line, in ASCII, so that no character can control a terminal. Bytes that are not UTF-8
// are replaced.
std::string toText(const Json& json);

}  // namespace wlc
