// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace wlc {

using Json = nlohmann::ordered_json;

// One record on its way to the user: each field is named once, with what JSON gets and what people
// read. A field's label for people is its key in words ("maxPower": "max power").
class Report {
  public:
    // `text` is what people read instead of the value alone.
    Report& field(const std::string& key, Json value, std::string text);
    // Numbers as they are, truth as yes and no, texts with nothing in them that steers a terminal.
    Report& field(const std::string& key, Json value);
    // A record in the record: an object in JSON, fields "key field" for people.
    Report& nested(const std::string& key, const Report& record);
    // Number and name together: "3 (not charging)".
    Report& code(const std::string& key, int64_t value, const std::string& name);
    Report& hexCode(const std::string& key, int64_t value, const std::string& name);

    const Json& json() const { return mJson; }
    // A line a field, the values aligned, each line ended.
    std::string lines() const;
    // All in one line, without its end: "status 3 (not charging), sub status 0".
    std::string line() const;

  private:
    Json mJson = Json::object();
    std::vector<std::pair<std::string, std::string>> mRows;
};

// JSON as this program writes it: on one line, in ASCII, so that no character steers a terminal;
// bytes that are not UTF-8 are replaced.
std::string toText(const Json& json);

}  // namespace wlc
