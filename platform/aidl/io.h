// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace aidlc {

// How the compiler reaches files. Paths use '/'. One thread at a time.
class Io {
  public:
    // A file larger than this is refused: no interface file comes near it.
    static constexpr size_t kMaxFileSize = 1 << 18;

    virtual ~Io() = default;

    // The whole file, or nothing with *why set. A file that is not there gives an empty *why.
    virtual std::optional<std::string> read(const std::string& path, std::string* why) = 0;

    // Creates or replaces the file and its folders. A file that already holds `text` is left alone,
    // so that build tools see it unchanged. False, with *why set, when that cannot be done.
    virtual bool write(const std::string& path, const std::string& text, std::string* why) = 0;

    // All files below `folder` whose names end in ".aidl", relative to it, sorted by byte value.
    // Nothing, with *why set, when the folder cannot be listed.
    virtual std::optional<std::vector<std::string>> list(const std::string& folder,
                                                         std::string* why) = 0;
};

// The real file system.
class DiskIo : public Io {
  public:
    std::optional<std::string> read(const std::string& path, std::string* why) override;
    bool write(const std::string& path, const std::string& text, std::string* why) override;
    std::optional<std::vector<std::string>> list(const std::string& folder,
                                                 std::string* why) override;
};

// Files in memory, for tests and fuzzing.
class MemoryIo : public Io {
  public:
    std::optional<std::string> read(const std::string& path, std::string* why) override;
    bool write(const std::string& path, const std::string& text, std::string* why) override;
    std::optional<std::vector<std::string>> list(const std::string& folder,
                                                 std::string* why) override;

    std::map<std::string, std::string> files;
};

// "a/b" and "c" give "a/b/c"; an empty or "." folder gives the name alone.
std::string joinPath(const std::string& folder, const std::string& name);

}  // namespace aidlc
