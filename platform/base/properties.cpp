// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android-base/properties.h>
#include <android-base/unique_fd.h>
#include <ctype.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <host/property_list.h>
#include <host/runtime_dir.h>
#include <poll.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
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

bool isUtf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<uint8_t>(text[i]);
        const size_t tails = first < 0x80             ? 0
                             : (first & 0xE0) == 0xC0 ? 1
                             : (first & 0xF0) == 0xE0 ? 2
                             : (first & 0xF8) == 0xF0 ? 3
                                                      : SIZE_MAX;
        if (tails == SIZE_MAX || text.size() - i <= tails) return false;
        uint32_t code = tails == 0 ? first : first & (0x3Fu >> tails);
        for (size_t t = 1; t <= tails; ++t) {
            const auto byte = static_cast<uint8_t>(text[i + t]);
            if ((byte & 0xC0) != 0x80) return false;
            code = code << 6 | (byte & 0x3F);
        }
        constexpr uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
        if (code < kLeast[tails] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return false;
        }
        i += tails + 1;
    }
    return true;
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

}  // namespace android::host

namespace android::base {
namespace {

using Clock = std::chrono::steady_clock;

// Nothing when `key` is not set. A folder that cannot be used counts as one without properties.
std::optional<std::string> find(const std::string& key) {
    std::string dir;
    std::string ignored;
    if (!host::checkPropertyName(key, &ignored) ||
        !host::hostRuntimeSubdir(host::kFolder, &dir, &ignored)) {
        return std::nullopt;
    }
    return host::readFile(dir + "/" + key);
}

template <typename T, typename Wide>
T parseNumber(const std::string& text, T fallback, Wide min, Wide max,
              Wide (*parse)(const char*, char**, int)) {
    const size_t digits = text.find_first_not_of("+-");
    const bool hex = digits <= 1 && text.compare(digits, 2, "0x") == 0;
    if (digits > 1 || !isxdigit(static_cast<unsigned char>(text[digits]))) return fallback;
    if (std::is_unsigned_v<T> && text[0] == '-') return fallback;
    errno = 0;
    char* end = nullptr;
    const Wide value = parse(text.c_str(), &end, hex ? 16 : 10);
    if (errno != 0 || *end != '\0' || end != text.c_str() + text.size()) return fallback;
    return value >= min && value <= max ? static_cast<T>(value) : fallback;
}

// Calls `holds` now and after every change in the properties folder, until it is true or time is
// up.
template <typename Predicate>
bool waitUntil(const Predicate& holds, std::chrono::milliseconds timeout) {
    std::string dir;
    std::string error;
    if (!host::hostRuntimeSubdir(host::kFolder, &dir, &error)) {
        LOG(ERROR) << "cannot wait for a property: " << error;
        return false;
    }
    const unique_fd watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!watch.ok() || inotify_add_watch(watch.get(), dir.c_str(), IN_MOVED_TO | IN_CREATE) < 0) {
        PLOG(ERROR) << "cannot watch " << dir;
        return false;
    }
    const auto start = Clock::now();
    for (;;) {
        if (holds()) return true;
        const auto passed =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        if (passed >= timeout) return false;
        const auto left = std::min(timeout - passed, std::chrono::milliseconds(INT32_MAX - 1));
        struct pollfd ready = {watch.get(), POLLIN, 0};
        poll(&ready, 1, static_cast<int>(left.count()) + (left.count() == 0 ? 1 : 0));
        char events[4096];
        while (read(watch.get(), events, sizeof(events)) > 0) {
        }
    }
}

}  // namespace

std::string GetProperty(const std::string& key, const std::string& default_value) {
    const auto value = find(key);
    return value && !value->empty() ? *value : default_value;
}

bool GetBoolProperty(const std::string& key, bool default_value) {
    const std::string value = GetProperty(key, "");
    for (const char* yes : {"1", "y", "yes", "on", "true"}) {
        if (value == yes) return true;
    }
    for (const char* no : {"0", "n", "no", "off", "false"}) {
        if (value == no) return false;
    }
    return default_value;
}

template <typename T>
T GetIntProperty(const std::string& key, T default_value, T min, T max) {
    return parseNumber<T, long long>(GetProperty(key, ""), default_value, min, max, strtoll);
}

template <typename T>
T GetUintProperty(const std::string& key, T default_value, T max) {
    return parseNumber<T, unsigned long long>(GetProperty(key, ""), default_value, 0, max,
                                              strtoull);
}

template int8_t GetIntProperty(const std::string&, int8_t, int8_t, int8_t);
template int16_t GetIntProperty(const std::string&, int16_t, int16_t, int16_t);
template int32_t GetIntProperty(const std::string&, int32_t, int32_t, int32_t);
template int64_t GetIntProperty(const std::string&, int64_t, int64_t, int64_t);
template uint8_t GetUintProperty(const std::string&, uint8_t, uint8_t);
template uint16_t GetUintProperty(const std::string&, uint16_t, uint16_t);
template uint32_t GetUintProperty(const std::string&, uint32_t, uint32_t);
template uint64_t GetUintProperty(const std::string&, uint64_t, uint64_t);

bool SetProperty(const std::string& key, const std::string& value) {
    std::string error;
    if (host::setProperty(key, value, &error)) return true;
    LOG(ERROR) << "cannot set property \"" << key << "\": " << error;
    return false;
}

bool WaitForProperty(const std::string& key, const std::string& expected_value,
                     std::chrono::milliseconds relative_timeout) {
    return waitUntil([&] { return find(key).value_or("") == expected_value; }, relative_timeout);
}

bool WaitForPropertyCreation(const std::string& key, std::chrono::milliseconds relative_timeout) {
    return waitUntil([&] { return find(key).has_value(); }, relative_timeout);
}

}  // namespace android::base
