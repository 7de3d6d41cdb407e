// SPDX-License-Identifier: Apache-2.0
#include <android-base/macros.h>
#include <android-base/unique_fd.h>
#include <ctype.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <host/property_list.h>
#include <host/runtime_dir.h>
#include <host/utf8.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace android::host {
namespace {

using base::unique_fd;

constexpr size_t kMaxName = 247;
constexpr size_t kMaxValue = 91;
constexpr size_t kMaxReadOnlyValue = 65535;
constexpr char kFolder[] = "properties";

bool isReadOnly(const std::string& name) {
    return name.compare(0, 3, "ro.") == 0;
}

bool checkValue(const std::string& name, const std::string& value, std::string* error) {
    const size_t most = isReadOnly(name) ? kMaxReadOnlyValue : kMaxValue;
    if (value.size() > most) {
        *error = "the value has " + std::to_string(value.size()) + " bytes; at most " +
                 std::to_string(most) + " fit";
        return false;
    }
    if (value.find('\0') != std::string::npos || !isUtf8(value)) {
        *error = "the value is not UTF-8 text without zero bytes";
        return false;
    }
    return true;
}

std::string systemError(const std::string& what) {
    return what + ": " + strerror(errno);
}

// Writes a temporary file beside `path` and gives it that name, so that a reader sees all of it or
// none.
bool replaceFile(const std::string& path, const std::string& value, bool onceOnly,
                 std::string* error) {
    // No property's name begins with ".".
    std::string temporary = path.substr(0, path.rfind('/')) + "/.tmp.XXXXXX";
    unique_fd file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.ok()) {
        *error = systemError("cannot make " + temporary);
        return false;
    }
    bool done = true;
    for (size_t at = 0; done && at < value.size();) {
        const ssize_t written =
            TEMP_FAILURE_RETRY(write(file.get(), value.data() + at, value.size() - at));
        done = written >= 0;
        if (done) at += static_cast<size_t>(written);
    }
    if (!done) {
        *error = systemError("cannot write " + temporary);
    } else if (!onceOnly) {
        done = rename(temporary.c_str(), path.c_str()) == 0;
        if (done) return true;
        *error = systemError("cannot replace " + path);
    } else {
        done = link(temporary.c_str(), path.c_str()) == 0;
        if (!done) {
            *error = errno == EEXIST ? "a read-only property is set once, and it is set already"
                                     : systemError("cannot make " + path);
        }
    }
    unlink(temporary.c_str());
    return done;
}

// Nothing when it is no regular file, or longer than a value may be.
std::optional<std::string> readFile(const std::string& path) {
    // O_NONBLOCK: something else than a file may have been put there.
    unique_fd file(
        TEMP_FAILURE_RETRY(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)));
    struct stat info;
    if (!file.ok() || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    std::string value;
    char chunk[256];
    for (;;) {
        const ssize_t size = TEMP_FAILURE_RETRY(read(file.get(), chunk, sizeof(chunk)));
        if (size < 0) return std::nullopt;
        if (size == 0) return value;
        value.append(chunk, static_cast<size_t>(size));
        if (value.size() > kMaxReadOnlyValue) return std::nullopt;
    }
}

}  // namespace

bool checkPropertyName(const std::string& name, std::string* error) {
    const auto isAllowed = [](unsigned char c) {
        return isascii(c) && (isalnum(c) || strchr(".-@:_", c) != nullptr) && c != '\0';
    };
    if (name.empty() || name.size() > kMaxName) {
        *error = "a property name has 1 to " + std::to_string(kMaxName) + " bytes";
    } else if (!std::all_of(name.begin(), name.end(), isAllowed)) {
        *error = "a property name consists of letters, digits and .-@:_";
    } else if (name.front() == '.' || name.back() == '.' || name.find("..") != std::string::npos) {
        *error = "a property name has no dot at its ends and no two in a row";
    } else {
        return true;
    }
    return false;
}

bool setProperty(const std::string& name, const std::string& value, std::string* error) {
    std::string dir;
    return checkPropertyName(name, error) && checkValue(name, value, error) &&
           hostRuntimeSubdir(kFolder, &dir, error) &&
           replaceFile(dir + "/" + name, value, isReadOnly(name), error);
}

bool listProperties(std::vector<std::pair<std::string, std::string>>* properties,
                    std::string* error) {
    std::string dir;
    if (!hostRuntimeSubdir(kFolder, &dir, error)) return false;
    DIR* stream = opendir(dir.c_str());
    if (stream == nullptr) {
        *error = systemError("cannot list " + dir);
        return false;
    }
    properties->clear();
    std::string ignored;
    while (const dirent* entry = readdir(stream)) {
        if (!checkPropertyName(entry->d_name, &ignored)) continue;
        auto value = readFile(dir + "/" + entry->d_name);
        if (value) properties->emplace_back(entry->d_name, std::move(*value));
    }
    closedir(stream);
    std::sort(properties->begin(), properties->end());
    return true;
}

std::optional<std::string> readProperty(const std::string& name) {
    std::string dir;
    std::string ignored;
    if (!checkPropertyName(name, &ignored) || !hostRuntimeSubdir(kFolder, &dir, &ignored)) {
        return std::nullopt;
    }
    return readFile(dir + "/" + name);
}

}  // namespace android::host
