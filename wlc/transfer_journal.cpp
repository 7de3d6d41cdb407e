// SPDX-License-Identifier: Apache-2.0
#include "transfer_journal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "report.h"

namespace wlc {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kWriteInterval(1);

// Creates the folder when it is missing.
std::string stateFolder() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    fs::path folder;
    if (state != nullptr && fs::path(state).is_absolute()) {
        folder = state;
    } else if (home != nullptr && fs::path(home).is_absolute()) {
        folder = fs::path(home) / ".local" / "state";
    } else {
        return {};
    }
    std::error_code ignored;
    fs::create_directories(folder / "wlc", ignored);
    return (folder / "wlc").string();
}

bool writeAll(int descriptor, const std::string& text) {
    return write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

// Replaces the file in one step, so that it is never seen half-written.
bool replaceFile(const std::string& path, const std::string& text) {
    const std::string fresh = fmt::format("{}.{}", path, getpid());
    const ndk::ScopedFileDescriptor file(
        open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (file.get() >= 0 && writeAll(file.get(), text) && fsync(file.get()) == 0 &&
        rename(fresh.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    unlink(fresh.c_str());
    errno = reason;
    return false;
}

}  // namespace

TransferJournal::TransferJournal(TransferKey key)
    : mKey(std::move(key)),
      mFolder(stateFolder()),
      mName(fmt::format("{}-{}-{}-{}.json", mKey.dock, mKey.target, mKey.size, mKey.version)) {}

bool TransferJournal::lock(int* other) {
    *other = 0;
    if (mFolder.empty()) return true;
    const std::string path = file(fmt::format("{}-{}.lock", mKey.dock, mKey.target));
    mLock.set(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (mLock.get() < 0) return true;
    if (flock(mLock.get(), LOCK_EX | LOCK_NB) == 0) {
        static_cast<void>(ftruncate(mLock.get(), 0) == 0 &&
                          writeAll(mLock.get(), std::to_string(getpid())));
        return true;
    }
    if (errno != EWOULDBLOCK) return true;
    std::ifstream(path) >> *other;
    mLock.set(-1);
    return false;
}

std::optional<TransferRecord> TransferJournal::read() const {
    std::ifstream in(file(mName));
    const Json json = Json::parse(in, nullptr, false);
    if (!json.is_object() || !json.contains("sha256") || !json["sha256"].is_string()) return {};
    TransferRecord record;
    record.digest = json["sha256"];
    record.compressed = json.value("compressed", Json(false)) == Json(true);
    for (const auto& [name, value] : {std::pair("sent", &record.sent), {"total", &record.total}}) {
        if (!json.contains(name) || !json[name].is_number_unsigned()) return {};
        *value = json[name];
    }
    return record;
}

void TransferJournal::remove() {
    mRecord.reset();
    if (!mFolder.empty()) unlink(file(mName).c_str());
}

bool TransferJournal::write(const TransferRecord& record, std::string* error) {
    mRecord = record;
    mWritten = Clock::now();
    if (mFolder.empty()) {
        *error = "neither XDG_STATE_HOME nor HOME is set";
        return false;
    }
    const Json json = {{"dock", mKey.dock},       {"target", mKey.target},
                       {"size", mKey.size},       {"version", mKey.version},
                       {"sha256", record.digest}, {"compressed", record.compressed},
                       {"sent", record.sent},     {"total", record.total}};
    if (replaceFile(file(mName), toText(json) + "\n")) return true;
    *error = fmt::format("{}: {}", file(mName), std::strerror(errno));
    return false;
}

void TransferJournal::progress(uint64_t sent, bool now) {
    if (!mRecord || (!now && Clock::now() - mWritten < kWriteInterval)) return;
    TransferRecord record = *mRecord;
    record.sent = sent;
    std::string ignored;
    static_cast<void>(write(record, &ignored));
}

}  // namespace wlc
