// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "ast.h"
#include "constants.h"

namespace aidlc {

// One thing that a user of a type sees, as AIDL text in its normal form: types by their full names,
// values computed, no comments, "oneway" at each method even where it stands before the interface,
// the direction of an argument where the source gives one. Two types are the same API when their
// items are the same.
struct ApiItem {
    Location at;
    std::string name;  // unique within the type; that of the declaration itself is its own
    std::string text;
};

// The declaration line first, then the members in order.
std::vector<ApiItem> apiItems(const TypeDecl& type, Evaluator* evaluator);

// The whole type as a file that says the same again, with a banner for who might edit it. "oneway"
// stands where the source has it.
std::string dumpType(const TypeDecl& type, Evaluator* evaluator);

// "a/b/Name.aidl".
std::string dumpPath(const TypeDecl& type);

}  // namespace aidlc
