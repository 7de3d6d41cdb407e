// SPDX-License-Identifier: Apache-2.0
#include "firmware_state.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "kept_firmware.h"

namespace virtual_dock {
namespace {

using android::base::unique_fd;

constexpr char kStateLogTag[] = "virtual-dock";
constexpr char kStateFile[] = "firmware";
constexpr char kNewStateFile[] = "firmware.new";
constexpr char kStateLock[] = "lock";

std::string failedTo(const std::string& what) {
    return "cannot " + what + ": " + std::strerror(errno);
}

bool writeAll(int fd, Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return true;
}

// False with errno 0 when the file is shorter than its size.
bool readAll(int fd, std::vector<uint8_t>* bytes) {
    for (size_t at = 0; at < bytes->size();) {
        errno = 0;
        const ssize_t count = read(fd, bytes->data() + at, bytes->size() - at);
        if (count == 0 || (count < 0 && errno != EINTR)) return false;
        if (count > 0) at += static_cast<size_t>(count);
    }
    return true;
}

}  // namespace

bool FirmwareState::lockFolder(const std::string& folder, std::string* problem) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        *problem = failedTo("make the folder " + folder);
        return false;
    }
    mFolder.reset(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (mFolder < 0) {
        *problem = failedTo("open the folder " + folder);
        return false;
    }
    mLock.reset(openat(mFolder.get(), kStateLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (mLock < 0) {
        *problem = failedTo("open " + folder + "/" + kStateLock);
        return false;
    }
    if (flock(mLock.get(), LOCK_EX | LOCK_NB) != 0) {
        *problem = errno == EWOULDBLOCK ? "another virtual dock keeps its state in " + folder +
                                              "; stop it or choose another folder"
                                        : failedTo("lock " + folder);
        return false;
    }
    return true;
}

bool FirmwareState::load(int64_t nowNs, FirmwareUpdater* firmware, std::string* problem) {
    const unique_fd file(
        openat(mFolder.get(), kStateFile, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file < 0 && errno == ENOENT) return true;
    struct stat status;
    if (file < 0 || fstat(file.get(), &status) != 0) {
        *problem = failedTo("read " + mPath);
        return false;
    }
    KeptFirmware kept;
    KeptFileState state = KeptFileState::kDamaged;
    size_t intact = 0;
    std::vector<uint8_t> bytes;
    if (S_ISREG(status.st_mode) && static_cast<uint64_t>(status.st_size) <= kMaxKeptFile) {
        bytes.resize(static_cast<size_t>(status.st_size));
        if (!readAll(file.get(), &bytes) && errno != 0) {
            *problem = failedTo("read " + mPath);
            return false;
        }
        state = decodeKeptFile(bytes, &kept, &intact);
    }
    if (state != KeptFileState::kOk) {
        *problem = mPath +
                   (state == KeptFileState::kDamaged ? " is damaged"
                                                     : " is of another version of the dock") +
                   "; remove it to start with a new dock";
        return false;
    }
    if (intact != bytes.size()) {
        __android_log_print(ANDROID_LOG_WARN, kStateLogTag,
                            "%s: the last %zu bytes are damaged; firmware chunks that came last "
                            "are missing again",
                            mPath.c_str(), bytes.size() - intact);
    }
    for (size_t i = 0; i < kept.slots.size(); ++i) {
        firmware->slot(i).version = kept.slots[i].version;
        firmware->slot(i).restore(std::move(kept.slots[i].kept), nowNs);
    }
    firmware->legacyName = std::move(kept.legacyName);
    firmware->newLegacyName = std::move(kept.newLegacyName);
    firmware->reboot(nowNs);
    return true;
}

bool FirmwareState::open(const std::string& folder, int64_t nowNs, FirmwareUpdater* firmware,
                         std::string* problem) {
    mPath = folder + "/" + kStateFile;
    FirmwareUpdater loaded = *firmware;
    // Written anew at once, which cuts a damaged tail and shows now whether the folder takes it.
    if (!lockFolder(folder, problem) || !load(nowNs, &loaded, problem) ||
        !writeSnapshot(loaded, problem)) {
        mLock.reset();
        return false;
    }
    loaded.takeChange();
    *firmware = std::move(loaded);
    return true;
}

bool FirmwareState::writeSnapshot(const FirmwareUpdater& firmware, std::string* problem) {
    mFile.reset();
    const std::vector<uint8_t> snapshot = encodeSnapshot(firmware);
    if (snapshot.size() > kMaxKeptFile - kMaxRecordBytes) {
        *problem = "cannot write " + mPath + ": the firmware is too large";
        return false;
    }
    // Records go behind whatever is there: O_APPEND.
    unique_fd file(openat(
        mFolder.get(), kNewStateFile,
        O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (file < 0 || !writeAll(file.get(), snapshot) || fsync(file.get()) != 0 ||
        renameat(mFolder.get(), kNewStateFile, mFolder.get(), kStateFile) != 0 ||
        fsync(mFolder.get()) != 0) {
        *problem = failedTo("write " + mPath);
        unlinkat(mFolder.get(), kNewStateFile, 0);
        return false;
    }
    mFile = std::move(file);
    mRecordBytes = 0;
    for (size_t i = 0; i < mVersions.size(); ++i) mVersions[i] = firmware.slot(i).version;
    return true;
}

bool FirmwareState::append(const std::vector<uint8_t>& record, std::string* problem) {
    if (writeAll(mFile.get(), record)) {
        mRecordBytes += record.size();
        return true;
    }
    *problem = failedTo("write " + mPath);
    mFile.reset();
    return false;
}

void FirmwareState::saveChange(FirmwareUpdater* firmware) {
    const FirmwareChange change = firmware->takeChange();
    std::vector<uint8_t> record;
    if (change.kind == FirmwareChange::Kind::kChunk) record = encodeRecord(*firmware, change);
    bool all =
        change.kind == FirmwareChange::Kind::kAll || mRecordBytes + record.size() > kMaxRecordBytes;
    // dockctl changes versions without a request.
    for (size_t i = 0; i < mVersions.size(); ++i) {
        all = all || !(mVersions[i] == firmware->slot(i).version);
    }
    if (!all && record.empty()) return;
    std::string problem;
    if (all ? writeSnapshot(*firmware, &problem) : append(record, &problem)) return;
    __android_log_print(ANDROID_LOG_ERROR, kStateLogTag,
                        "%s; the dock goes on without keeping its firmware. Make the folder "
                        "writable again and restart the dock",
                        problem.c_str());
}

}  // namespace virtual_dock
