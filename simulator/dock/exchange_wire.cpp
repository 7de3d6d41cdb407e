// SPDX-License-Identifier: Apache-2.0
#include "exchange_wire.h"

#include <sys/socket.h>

#include <cerrno>

#include "words.h"

namespace virtual_dock::wire {
namespace {

constexpr std::string_view kUevents = "uevents=";

std::string command() {
    return "exchange " + std::to_string(kVersion);
}

}  // namespace

bool sendAll(int fd, const void* bytes, size_t size) {
    ssize_t count = 0;
    do {
        count = send(fd, bytes, size, MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(size);
}

std::string openingLine(const std::string& uevents) {
    if (uevents.empty()) return command();
    return command() + " " + encodeWord(std::string(kUevents) + uevents);
}

std::optional<std::string> parseOpening(std::string_view line) {
    const std::optional<std::vector<std::string>> words = splitWords(line);
    if (!words || words->size() < 2 || words->size() > 3) return std::nullopt;
    if ((*words)[0] + " " + (*words)[1] != command()) return std::nullopt;
    if (words->size() == 2) return "";
    const std::string& path = words->back();
    if (!path.starts_with(kUevents)) return std::nullopt;
    return path.substr(kUevents.size());
}

}  // namespace virtual_dock::wire
