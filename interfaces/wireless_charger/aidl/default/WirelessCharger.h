// SPDX-License-Identifier: Apache-2.0
/* The object that serves IWirelessCharger. */
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/BnWirelessCharger.h>
#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>
#include <android/binder_status.h>
#include <utils/StrongPointer.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "callback_list.h"
#include "protocol/fw_update_data.h"
#include "request.h"
#include "wireless_event.h"

namespace aidl::vendor::zorvak::wireless_charger {

/** Values that a shell command can override; the numbers are also getWlcInfo's selectors. */
enum class DiagType : int32_t {
    QI_SPEC = 0,
    COMPATIBILITY = 1,
    MAX_POWER = 2,
    NEGO_POWER = 3,
    LIMIT_REASON = 4,
};

/** Phases of a firmware update, as FwUpdateData.state tells them. */
inline constexpr uint8_t kFwStateTransfer = 2;
inline constexpr uint8_t kFwStateIdle = 4;
inline constexpr uint8_t kFwStateExecuted = 5;
inline constexpr uint8_t kFwStateReported = 6;

/** Piece size of certificate reads until the shell sets another. */
inline constexpr uint32_t kDefaultCertRequestLength = 127;

/**
 * The service. Made once, with ndk::SharedRefBase::make, after both closed libraries are
 * initialised, and never destroyed while its event thread runs.
 *
 * Threads: every method of the interface, dump and handleShellCommand may be called from any thread
 * at any time, and most block while the dock answers; their contract is in the interface. The event
 * handlers run on the event thread. No lock is held while a client is called, and no two locks are
 * held together, except by dump, which takes the three callback locks in the order of declaration.
 */
class WirelessCharger : public BnWirelessCharger {
  public:
    /** Starts the event thread; when that fails the service works without events. */
    WirelessCharger();

    /**
     * Writes the state report to fd, then what the registered callbacks' dumps write, with the same
     * arguments. Blocks as long as those do. Always STATUS_OK.
     */
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override;

    /**
     * Diagnostic commands: "diag.qispec", "diag.compatibility", "diag.maxpower", "diag.negopower",
     * "diag.limitreason" VALUE; "cert.request_length" LENGTH; "eds.test" MODE LOOPS SIZE. Answers
     * in the log only; always STATUS_OK.
     */
    binder_status_t handleShellCommand(int in, int out, int err, const char** args,
                                       uint32_t numArgs) override;

    ndk::ScopedAStatus challenge(int8_t value, const std::vector<uint8_t>& nonce,
                                 std::vector<uint8_t>* out) override;
    ndk::ScopedAStatus getAlignInfo(AlignInfo* out) override;
    ndk::ScopedAStatus getFanInfo(int8_t fan, FanInfo* out) override;
    ndk::ScopedAStatus getFanLevel(int32_t* out) override;
    ndk::ScopedAStatus getFeatures(int64_t query, WirelessChargerFeature* out) override;
    ndk::ScopedAStatus getInformation(DockInfo* out) override;
    ndk::ScopedAStatus getRtxInformation(RtxStatusInfo* out) override;
    ndk::ScopedAStatus getWpcAuthCertificate(int8_t slot, char16_t offset, char16_t length,
                                             std::vector<uint8_t>* out) override;
    ndk::ScopedAStatus getWpcAuthChallengeResponse(int8_t slot, const std::vector<uint8_t>& nonce,
                                                   WpcAuthChallengeResponse* out) override;
    ndk::ScopedAStatus getWpcAuthDigests(int8_t slotMask, WpcAuthDigests* out) override;
    ndk::ScopedAStatus isDockPresent(DockPresent* out) override;
    ndk::ScopedAStatus isRtxModeOn(bool* out) override;
    ndk::ScopedAStatus isRtxSupported(bool* out) override;
    ndk::ScopedAStatus keyExchange(const std::vector<uint8_t>& key,
                                   KeyExchangeResponse* out) override;
    ndk::ScopedAStatus registerCallback(
        const std::shared_ptr<IWirelessChargerInfoCallback>& callback) override;
    ndk::ScopedAStatus registerRtxCallback(
        const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) override;
    ndk::ScopedAStatus registerFanLevelChangedCallback(
        const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) override;
    ndk::ScopedAStatus setFan(int8_t fan, FanMode mode, char16_t level, FanInfo* out) override;
    ndk::ScopedAStatus setFeatures(int64_t query, WirelessChargerFeature features) override;
    ndk::ScopedAStatus setRtxMode(bool enable) override;
    ndk::ScopedAStatus unregisterCallback(
        const std::shared_ptr<IWirelessChargerInfoCallback>& callback) override;
    ndk::ScopedAStatus unregisterRtxCallback(
        const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) override;
    ndk::ScopedAStatus unregisterFanLevelChangedCallback(
        const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) override;
    ndk::ScopedAStatus reboot() override;
    ndk::ScopedAStatus getFirstMissingChunk(MissingChunk* out) override;
    ndk::ScopedAStatus sendChunk(char16_t chunkNumber, int8_t chunkTag,
                                 const std::vector<uint8_t>& data, char16_t* next) override;
    ndk::ScopedAStatus getUpdateExecutionStatus(UpdateStatus* out) override;
    ndk::ScopedAStatus getUpdateInformation(UpdateInfo* out) override;
    ndk::ScopedAStatus executeUpdate(ExecuteStatus* out) override;
    ndk::ScopedAStatus updateStart(int32_t size, int8_t chunkSize, bool freshStart,
                                   const FirmwareVersion& newVersion,
                                   UpdateStartResponse* out) override;
    ndk::ScopedAStatus isAuthReady(bool* out) override;
    ndk::ScopedAStatus sendReboot() override;
    ndk::ScopedAStatus getFirstFwMissingChunk(int8_t target, FwMissingChunk* out) override;
    ndk::ScopedAStatus sendFwChunk(int8_t target, int32_t chunkNumber, int8_t chunkTag,
                                   const std::vector<uint8_t>& data, int32_t* next) override;
    ndk::ScopedAStatus getFwUpdateExecutionStatus(int8_t target, FwUpdateStatus* out) override;
    ndk::ScopedAStatus getFwUpdateInformation(int8_t target, FwUpdateInfo* out) override;
    ndk::ScopedAStatus fwExecuteUpdate(int8_t target, ExecuteStatus* out) override;
    ndk::ScopedAStatus fwUpdateStart(int8_t target, int32_t size, int8_t chunkSize, bool freshStart,
                                     const FirmwareVersion& newVersion,
                                     FwUpdateStartResponse* out) override;
    ndk::ScopedAStatus compressFwUpdateStart(int8_t target, int32_t size, int8_t chunkSize,
                                             bool freshStart, int32_t compressSize,
                                             const FirmwareVersion& newVersion,
                                             FwUpdateStartResponse* out) override;
    ndk::ScopedAStatus sendCompressFwChunk(int8_t target, int32_t chunkNumber, int8_t chunkTag,
                                           const std::vector<uint8_t>& data,
                                           ChunkResponse* out) override;
    ndk::ScopedAStatus getSkinTemperature(SkinTemp* out) override;
    ndk::ScopedAStatus getPhoneInformation(PhoneInfo* out) override;
    ndk::ScopedAStatus getDockInformation(DockInfo* out) override;
    ndk::ScopedAStatus updateInformation(const WlcInfo& info) override;
    ndk::ScopedAStatus getPowerInformation(PowerInfo* out) override;

    /**
     * Event handlers: refill the value, which the event thread owns, and call the subscribers;
     * those whose call fails are dropped. Only for the event thread, one at a time.
     */
    void rtxCallback(RtxStatusInfo& info);
    void alignCallback(AlignInfo& info);
    void fanCallback(int& level);
    /** chargingOff is 1 when charging has gone off, else 0; it is not changed. */
    void wlcCallback(int& chargingOff);

    /**
     * Death handlers: remove every callback of their kind whose process is gone. The cookie is the
     * service, or null for nothing to do.
     */
    static void onInfoCallbackDeath(void* cookie);
    static void onRtxCallbackDeath(void* cookie);
    static void onFanCallbackDeath(void* cookie);

  private:
    /**
     * One exchange with the dock or the charger: sends the request and blocks until the answer
     * stands in its place. UnderLock: alone, under the request lock. WithoutLock: beside any other.
     */
    ErrorCode sendBidiUnderLock(int32_t type, Request& request) EXCLUDES(mRequestLock);
    ErrorCode sendPropUnderLock(int32_t type, Request& request) EXCLUDES(mRequestLock);
    ErrorCode sendWpcAuthUnderLock(uint32_t timeLimit, AuthPacket& packet) EXCLUDES(mRequestLock);
    static ErrorCode sendBidiWithoutLock(int32_t type, Request& request);

    /** The three kinds of callback, for what callback_list.h does with them. */
    Subscribers<IWirelessChargerRtxStatusCallback> rtxSubscribers() {
        return {mRtxCallbackLock, &mRtxCallbacks, mRtxDeathRecipient, "RTx"};
    }
    Subscribers<IWirelessChargerInfoCallback> infoSubscribers() {
        return {mInfoCallbackLock, &mInfoCallbacks, mInfoDeathRecipient, "Align info"};
    }
    Subscribers<IWirelessChargerFanLevelChangedCallback> fanSubscribers() {
        return {mFanLevelCallbackLock, &mFanLevelCallbacks, mFanLevelDeathRecipient, "Fan level"};
    }

    /** Reads the alignment, its status limited to 3 also when that fails. */
    static ErrorCode readAlignment(AlignInfo& info);

    /** The override that is in force, else what the charger says; nothing when it fails. */
    std::optional<int32_t> readValue(DiagType type) EXCLUDES(mDiagOverridesLock);

    /** The cached identity as a client gets it: its texts in valid UTF-8. */
    void copyDockInfo(DockInfo* out) const REQUIRES(mDockInfoLock);

    /** Both return 0 or an ErrorCode; response is left alone on an error. */
    uint8_t updateStartInternal(int8_t target, int32_t size, int8_t chunkSize, bool freshStart,
                                int32_t compressSize, const FirmwareVersion& newVersion,
                                FwUpdateStartResponse* response);
    uint8_t sendChunkInternal(int8_t target, int32_t chunkNumber, int8_t chunkTag,
                              const std::vector<uint8_t>& data, ChunkResponse* response);
    /** Hands a copy of the progress record to the library. */
    void uploadFwUpdate() REQUIRES(mFwUpdateLock);

    /** Shell commands; false when the arguments make no sense. args[0] is the command word. */
    bool setOverride(DiagType type, const char** args, uint32_t numArgs);
    bool setCertRequestLength(const char** args, uint32_t numArgs);

    std::mutex mRtxCallbackLock;
    CallbackList<IWirelessChargerRtxStatusCallback> mRtxCallbacks GUARDED_BY(mRtxCallbackLock);

    // Const after construction; its handlers are bound to this object.
    ::android::sp<WirelessEvent> mWirelessEvent;

    std::mutex mInfoCallbackLock;
    CallbackList<IWirelessChargerInfoCallback> mInfoCallbacks GUARDED_BY(mInfoCallbackLock);

    std::mutex mFanLevelCallbackLock;
    CallbackList<IWirelessChargerFanLevelChangedCallback> mFanLevelCallbacks
        GUARDED_BY(mFanLevelCallbackLock);

    // Event thread only. 1 from charging going off until an alignment of 3 has been reported.
    int32_t mWlcOffPending = 0;

    FwUpdateData mFwUpdateData GUARDED_BY(mFwUpdateLock);

    // Largest piece of a certificate that is asked for at once, in bytes.
    std::atomic<uint32_t> mCertRequestLength = kDefaultCertRequestLength;

    // In force when there and not 0. The lock is held for a look-up or a store only.
    std::mutex mDiagOverridesLock;
    std::unordered_map<DiagType, uint32_t> mDiagOverrides GUARDED_BY(mDiagOverridesLock);

    // The cached identity of the dock, its texts as the dock sends them. The lock is held for a
    // copy or a write only.
    std::mutex mDockInfoLock;
    DockInfo mDockInfo GUARDED_BY(mDockInfoLock);

    // Serialises requests to libchargelink; held for one exchange.
    std::mutex mRequestLock;

    // Held while the library takes the record or tells which dock is there, never during a request.
    std::mutex mFwUpdateLock;

    // One a kind, const after construction; the cookie of every link is this object.
    const ndk::ScopedAIBinder_DeathRecipient mRtxDeathRecipient;
    const ndk::ScopedAIBinder_DeathRecipient mInfoDeathRecipient;
    const ndk::ScopedAIBinder_DeathRecipient mFanLevelDeathRecipient;
};

}  // namespace aidl::vendor::zorvak::wireless_charger
