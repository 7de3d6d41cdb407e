// SPDX-License-Identifier: Apache-2.0
#include "io.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace aidlc {
namespace {

namespace fs = std::filesystem;

constexpr char kSuffix[] = ".aidl";

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

bool hasSuffix(const std::string& name) {
    const size_t length = sizeof(kSuffix) - 1;
    return name.size() > length && name.compare(name.size() - length, length, kSuffix) == 0;
}

}  // namespace

std::string joinPath(const std::string& folder, const std::string& name) {
    if (folder.empty() || folder == ".") {
        return name;
    }
    return folder.back() == '/' ? folder + name : folder + '/' + name;
}

std::optional<std::string> DiskIo::read(const std::string& path, std::string* why) {
    why->clear();
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return std::nullopt;
    }
    if (!fs::is_regular_file(status)) {
        *why = error ? error.message() : "it is not a regular file";
        return std::nullopt;
    }
    File file(fopen(path.c_str(), "rbe"));
    if (file == nullptr) {
        *why = strerror(errno);
        return std::nullopt;
    }
    std::string text;
    char block[16384];
    size_t got = 0;
    while ((got = fread(block, 1, sizeof(block), file.get())) > 0) {
        text.append(block, got);
        if (text.size() > kMaxFileSize) {
            *why = "it is larger than " + std::to_string(kMaxFileSize) + " bytes";
            return std::nullopt;
        }
    }
    if (ferror(file.get()) != 0) {
        *why = "it cannot be read";
        return std::nullopt;
    }
    return text;
}

bool DiskIo::write(const std::string& path, const std::string& text, std::string* why) {
    std::string ignored;
    if (const auto present = read(path, &ignored); present && *present == text) {
        return true;
    }
    std::error_code error;
    const fs::path folder = fs::path(path).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, error)) {
        fs::create_directories(folder, error);
        if (error) {
            *why = "cannot make the folder " + folder.string() + ": " + error.message();
            return false;
        }
    }
    // Written beside and renamed, so that an interrupted run leaves no half file behind.
    const std::string part = path + ".part";
    File file(fopen(part.c_str(), "wbe"));
    if (file == nullptr) {
        *why = strerror(errno);
        return false;
    }
    const bool written = fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (fclose(file.release()) != 0 || !written) {
        *why = strerror(errno);
        fs::remove(part, error);
        return false;
    }
    fs::rename(part, path, error);
    if (error) {
        *why = error.message();
        return false;
    }
    return true;
}

std::optional<std::vector<std::string>> DiskIo::list(const std::string& folder, std::string* why) {
    std::error_code error;
    std::vector<std::string> names;
    fs::recursive_directory_iterator entries(folder, error);
    for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
        if (entries->is_regular_file(error) && hasSuffix(entries->path().filename().string())) {
            names.push_back(entries->path().lexically_relative(folder).generic_string());
        }
    }
    if (error) {
        *why = error.message();
        return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> MemoryIo::read(const std::string& path, std::string* why) {
    why->clear();
    const auto found = files.find(path);
    if (found == files.end()) {
        return std::nullopt;
    }
    return found->second;
}

bool MemoryIo::write(const std::string& path, const std::string& text, std::string* /*why*/) {
    files[path] = text;
    return true;
}

std::optional<std::vector<std::string>> MemoryIo::list(const std::string& folder,
                                                       std::string* /*why*/) {
    std::vector<std::string> names;
    const std::string prefix = joinPath(folder, "");
    for (const auto& [path, text] : files) {
        if (path.compare(0, prefix.size(), prefix) == 0 && hasSuffix(path)) {
            names.push_back(path.substr(prefix.size()));
        }
    }
    return names;
}

}  // namespace aidlc
