// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace aidlc {

// A place in a source file. Lines and columns count from 1.
struct Location {
    const std::string* file = nullptr;  // owned by the Document that the place is in
    int line = 0;
    int column = 0;
};

// Collects errors as `file:line:col: error: text`. After kMaxErrors it only notes that there were
// more, so that hostile input cannot make it grow without bound.
class Diagnostics {
  public:
    static constexpr size_t kMaxErrors = 50;

    void error(const Location& at, const std::string& message);
    // An error without a place: the command line, a folder, a file that cannot be read.
    void error(const std::string& message);

    bool hasErrors() const { return !mErrors.empty(); }
    // One complete line per error, in the order found, without line ends.
    const std::vector<std::string>& errors() const { return mErrors; }

  private:
    void add(std::string line);

    std::vector<std::string> mErrors;
};

}  // namespace aidlc
