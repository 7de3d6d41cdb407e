// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <host/runtime_dir.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

namespace android::host {
namespace {

constexpr mode_t kPrivate = 0700;
constexpr mode_t kForOthers = 0077;

std::string octal(mode_t mode) {
    char text[16];
    snprintf(text, sizeof(text), "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

std::string uidText(uid_t uid) {
    return "uid " + std::to_string(uid);
}

// The folder's name before any check; empty, with *error set, when the environment gives no usable
// one.
std::string candidate(std::string* error) {
    const char* own = getenv("ANDROID_HOST_DIR");
    if (own != nullptr && own[0] != '\0') {
        if (own[0] != '/') {
            *error =
                std::string("run-time folder ANDROID_HOST_DIR=") + own +
                " is a relative path: set it to an absolute one, so that all processes mean the "
                "same folder";
            return {};
        }
        return own;
    }
    const char* xdg = getenv("XDG_RUNTIME_DIR");
    if (xdg != nullptr && xdg[0] == '/') return std::string(xdg) + "/android-host";
    return "/tmp/android-host-" + std::to_string(geteuid());
}

bool systemError(const std::string& path, const char* what, std::string* error) {
    const int number = errno;
    *error = "run-time folder " + path + ": cannot " + what + ": " + strerror(number);
    if (number == ENOENT) *error += " (its parent folder must exist)";
    return false;
}

bool checkLinkOwner(const std::string& path, const struct stat& info, std::string* error) {
    if (!S_ISLNK(info.st_mode) || info.st_uid == geteuid() || info.st_uid == 0) return true;
    *error = "run-time folder " + path + " is a symbolic link made by " + uidText(info.st_uid) +
             ": it must be a folder of " + uidText(geteuid()) +
             " with mode 0700; remove the link or set ANDROID_HOST_DIR to another folder";
    return false;
}

bool checkPrivate(const std::string& path, const struct stat& info, std::string* error) {
    if (!S_ISDIR(info.st_mode)) {
        *error = "run-time folder " + path + " is not a folder (owner " + uidText(info.st_uid) +
                 ", mode " + octal(info.st_mode) +
                 "): remove it or set ANDROID_HOST_DIR to another folder";
        return false;
    }
    const bool mine = info.st_uid == geteuid();
    if (mine && (info.st_mode & kForOthers) == 0) return true;
    *error = "run-time folder " + path + " has owner " + uidText(info.st_uid) + " and mode " +
             octal(info.st_mode) + ": it must have owner " + uidText(geteuid()) +
             " and mode 0700, since whoever may write there can pose as any service; " +
             (mine ? "run chmod 0700 " + path : std::string("remove it")) +
             " or set ANDROID_HOST_DIR to another folder";
    return false;
}

// Makes `path` when it is missing and checks it.
bool ensurePrivate(const std::string& path, std::string* error) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) {
        if (errno != ENOENT) return systemError(path, "look at it", error);
        if (mkdir(path.c_str(), kPrivate) != 0 && errno != EEXIST) {
            return systemError(path, "make it", error);
        }
        if (lstat(path.c_str(), &info) != 0) return systemError(path, "look at it", error);
    }
    if (!checkLinkOwner(path, info, error)) return false;
    if (S_ISLNK(info.st_mode) && stat(path.c_str(), &info) != 0) {
        return systemError(path, "follow the link", error);
    }
    return checkPrivate(path, info, error);
}

}  // namespace

bool hostRuntimeDir(std::string* path, std::string* error) {
    std::string dir = candidate(error);
    if (dir.empty()) return false;
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    if (!ensurePrivate(dir, error)) return false;
    *path = std::move(dir);
    return true;
}

bool hostRuntimeSubdir(const std::string& name, std::string* path, std::string* error) {
    std::string dir;
    if (!hostRuntimeDir(&dir, error)) return false;
    std::string_view rest = name;
    do {
        const size_t slash = rest.find('/');
        const std::string_view part = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        const bool endsInSlash = slash != std::string_view::npos && rest.empty();
        if (part.empty() || part == "." || part == ".." || endsInSlash ||
            part.find('\0') != std::string_view::npos) {
            *error = "\"" + name + "\" is no name for a folder under the run-time folder " + dir;
            return false;
        }
        dir.append("/").append(part);
        if (!ensurePrivate(dir, error)) return false;
    } while (!rest.empty());
    *path = std::move(dir);
    return true;
}

}  // namespace android::host
