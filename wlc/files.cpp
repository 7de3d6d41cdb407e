// SPDX-License-Identifier: Apache-2.0
#include "files.h"

#include <android/binder_auto_utils.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "failure.h"

namespace wlc {

std::vector<uint8_t> readFile(const std::string& path, size_t limit) {
    const auto unreadable = [&path](const char* why) {
        return badUsage(fmt::format("cannot read {}: {}", path, why));
    };
    // If it is a FIFO, do not wait for a writer.
    const ndk::ScopedFileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0) throw unreadable(std::strerror(errno));
    struct stat status = {};
    if (fstat(file.get(), &status) != 0) throw unreadable(std::strerror(errno));
    if (!S_ISREG(status.st_mode)) throw unreadable("not a regular file");
    if (static_cast<uint64_t>(status.st_size) > limit) {
        throw badUsage(
            fmt::format("{} is too large: {} bytes, the limit is {}", path, status.st_size, limit));
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(status.st_size));
    size_t have = 0;
    while (have < bytes.size()) {
        const ssize_t got = ::read(file.get(), bytes.data() + have, bytes.size() - have);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw unreadable(std::strerror(errno));
        if (got == 0) throw unreadable("the file shrank while it was read");
        have += static_cast<size_t>(got);
    }
    return bytes;
}

void writeFile(const std::string& path, std::span<const uint8_t> bytes) {
    const ndk::ScopedFileDescriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    size_t have = 0;
    while (file.get() >= 0 && have < bytes.size()) {
        const ssize_t put = ::write(file.get(), bytes.data() + have, bytes.size() - have);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) break;
        have += static_cast<size_t>(put);
    }
    if (file.get() < 0 || have < bytes.size()) {
        throw refused(fmt::format("cannot write {}: {}", path, std::strerror(errno)));
    }
}

}  // namespace wlc
