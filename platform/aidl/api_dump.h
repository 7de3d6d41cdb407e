// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "ast.h"

namespace aidlc {

// One thing that a user of a type sees, as AIDL text in its normal form: types by their full names,
// values computed, no comments. Two types are the same API when their items are the same.
struct ApiItem {
    Location at;
    std::string text;
};

// The declaration line first, then the members in order. `type` has been checked.
std::vector<ApiItem> apiItems(const TypeDecl& type);

// The whole type as a file that says the same again, with a banner for who might edit it.
std::string dumpType(const TypeDecl& type);

// "a/b/Name.aidl".
std::string dumpPath(const TypeDecl& type);

}  // namespace aidlc
