// SPDX-License-Identifier: Apache-2.0
#include "firmware_channel.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"
#include "records.h"
#include "time_limit.h"

namespace wlc {
namespace {

// The largest chunk that fits a request, and so the largest that a dock can ask for.
constexpr uint32_t kTargetedChunk = 252;
constexpr uint32_t kUntargetedChunk = 253;
// The dock ignores the tag of a chunk.
constexpr int8_t kChunkTag = 0;

uint32_t chunkLimit(int8_t reported, uint32_t room) {
    const uint32_t wanted = static_cast<uint8_t>(reported);
    return wanted == 0 ? room : std::min(wanted, room);
}

ImageVersion versionOf(const charger::FirmwareVersion& version) {
    return {static_cast<uint8_t>(version.major), static_cast<uint8_t>(version.minor)};
}

charger::FirmwareVersion versionRecord(const FirmwareStart& start) {
    charger::FirmwareVersion version;
    version.major = start.version.major;
    version.minor = start.version.minor;
    version.name = start.name;
    return version;
}

ApplyStatus applyStatusOf(int8_t state, int8_t percent) {
    const bool known = state >= ApplyStatus::kIdle && state <= ApplyStatus::kFailed;
    return {known ? static_cast<ApplyStatus::State>(state) : ApplyStatus::kUnknown,
            std::min<int>(static_cast<uint8_t>(percent), 100)};
}

class TargetedChannel : public FirmwareChannel {
  public:
    TargetedChannel(Context& context, int8_t target, bool compressed)
        : mService(context.service()), mTarget(target), mCompressed(compressed) {}

    Report info() override { return describe(getInfo()); }

    Report status() override { return describe(getStatus()); }

    FirmwareLimits limits(bool) override {
        const charger::FwUpdateInfo info = getInfo();
        return {static_cast<uint32_t>(std::max(info.maxSize, 0)),
                chunkLimit(info.maxChunkSize, kTargetedChunk), versionOf(info.version)};
    }

    uint32_t start(const FirmwareStart& start) override {
        charger::FwUpdateStartResponse response;
        check(mService->compressFwUpdateStart(mTarget, static_cast<int32_t>(start.size),
                                              static_cast<int8_t>(start.chunkSize), start.fresh,
                                              static_cast<int32_t>(start.compressed),
                                              versionRecord(start), &response),
              "start");
        return static_cast<uint8_t>(response.chunkSize);
    }

    uint32_t sendChunk(uint32_t number, std::span<const uint8_t> data) override {
        mData.assign(data.begin(), data.end());
        const auto chunk = static_cast<int32_t>(number);
        if (mCompressed) {
            charger::ChunkResponse response;
            check(mService->sendCompressFwChunk(mTarget, chunk, kChunkTag, mData, &response),
                  "chunk");
            return static_cast<uint32_t>(response.next);
        }
        int32_t next = 0;
        check(mService->sendFwChunk(mTarget, chunk, kChunkTag, mData, &next), "chunk");
        return static_cast<uint32_t>(next);
    }

    MissingChunks missing() override {
        charger::FwMissingChunk missing;
        check(mService->getFirstFwMissingChunk(mTarget, &missing), "missing chunks");
        return {static_cast<uint32_t>(missing.chunkNumber),
                static_cast<uint32_t>(missing.numChunks)};
    }

    charger::ExecuteStatus execute() override {
        auto status = charger::ExecuteStatus::REFUSED;
        check(mService->fwExecuteUpdate(mTarget, &status), "execute");
        return status;
    }

    ApplyStatus applyStatus() override {
        const charger::FwUpdateStatus status = getStatus();
        return applyStatusOf(status.status, status.progress);
    }

    void reboot() override { check(mService->sendReboot(), "reboot"); }

    std::string command() const override {
        return mTarget == 0 ? "wlc firmware" : fmt::format("wlc firmware --target {}", mTarget);
    }
    std::string target() const override { return fmt::format("target{}", mTarget); }

  private:
    charger::FwUpdateInfo getInfo() {
        charger::FwUpdateInfo info;
        check(mService->getFwUpdateInformation(mTarget, &info), "information");
        return info;
    }

    charger::FwUpdateStatus getStatus() {
        charger::FwUpdateStatus status;
        check(mService->getFwUpdateExecutionStatus(mTarget, &status), "status");
        return status;
    }

    const std::shared_ptr<charger::IWirelessCharger> mService;
    const int8_t mTarget;
    const bool mCompressed;
    std::vector<uint8_t> mData;
};

class UntargetedChannel : public FirmwareChannel {
  public:
    explicit UntargetedChannel(Context& context) : mService(context.service()) {}

    Report info() override { return describe(getInfo()); }

    Report status() override { return describe(getStatus()); }

    FirmwareLimits limits(bool withVersion) override {
        const charger::UpdateInfo info = getInfo();
        FirmwareLimits limits = {static_cast<uint32_t>(std::max(info.maxSize, 0)),
                                 chunkLimit(info.infoByte5, kUntargetedChunk), std::nullopt};
        if (withVersion) limits.running = runningVersion();
        return limits;
    }

    uint32_t start(const FirmwareStart& start) override {
        charger::UpdateStartResponse response;
        check(mService->updateStart(static_cast<int32_t>(start.size),
                                    static_cast<int8_t>(start.chunkSize), start.fresh,
                                    versionRecord(start), &response),
              "start");
        return 0;
    }

    uint32_t sendChunk(uint32_t number, std::span<const uint8_t> data) override {
        mData.assign(data.begin(), data.end());
        char16_t next = 0;
        check(mService->sendChunk(static_cast<char16_t>(number), kChunkTag, mData, &next), "chunk");
        return next;
    }

    MissingChunks missing() override {
        charger::MissingChunk missing;
        check(mService->getFirstMissingChunk(&missing), "missing chunks");
        return {missing.chunkNumber, missing.numChunks};
    }

    charger::ExecuteStatus execute() override {
        auto status = charger::ExecuteStatus::REFUSED;
        check(mService->executeUpdate(&status), "execute");
        return status;
    }

    ApplyStatus applyStatus() override {
        const charger::UpdateStatus status = getStatus();
        return applyStatusOf(status.status, status.progress);
    }

    void reboot() override { check(mService->reboot(), "reboot"); }

    std::string command() const override { return "wlc legacy-firmware"; }
    std::string target() const override { return "legacy"; }

  private:
    // Only the dock's description of itself has it, and not every dock gives one.
    std::optional<ImageVersion> runningVersion() {
        charger::DockInfo info;
        const ndk::ScopedAStatus status = mService->getInformation(&info);
        if (status.getExceptionCode() == EX_SERVICE_SPECIFIC) {
            noteAnswer();
            return std::nullopt;
        }
        check(status, "information");
        return versionOf(info.firmwareVersion);
    }

    charger::UpdateInfo getInfo() {
        charger::UpdateInfo info;
        check(mService->getUpdateInformation(&info), "information");
        return info;
    }

    charger::UpdateStatus getStatus() {
        charger::UpdateStatus status;
        check(mService->getUpdateExecutionStatus(&status), "status");
        return status;
    }

    const std::shared_ptr<charger::IWirelessCharger> mService;
    std::vector<uint8_t> mData;
};

}  // namespace

std::unique_ptr<FirmwareChannel> targetedChannel(Context& context, int8_t target, bool compressed) {
    return std::make_unique<TargetedChannel>(context, target, compressed);
}

std::unique_ptr<FirmwareChannel> untargetedChannel(Context& context) {
    return std::make_unique<UntargetedChannel>(context);
}

}  // namespace wlc
