// SPDX-License-Identifier: Apache-2.0
package vendor.zorvak.wireless_charger;

import vendor.zorvak.wireless_charger.AlignInfo;
import vendor.zorvak.wireless_charger.ChunkResponse;
import vendor.zorvak.wireless_charger.DockInfo;
import vendor.zorvak.wireless_charger.DockPresent;
import vendor.zorvak.wireless_charger.ExecuteStatus;
import vendor.zorvak.wireless_charger.FanInfo;
import vendor.zorvak.wireless_charger.FanMode;
import vendor.zorvak.wireless_charger.FirmwareVersion;
import vendor.zorvak.wireless_charger.FwMissingChunk;
import vendor.zorvak.wireless_charger.FwUpdateInfo;
import vendor.zorvak.wireless_charger.FwUpdateStartResponse;
import vendor.zorvak.wireless_charger.FwUpdateStatus;
import vendor.zorvak.wireless_charger.IWirelessChargerFanLevelChangedCallback;
import vendor.zorvak.wireless_charger.IWirelessChargerInfoCallback;
import vendor.zorvak.wireless_charger.IWirelessChargerRtxStatusCallback;
import vendor.zorvak.wireless_charger.KeyExchangeResponse;
import vendor.zorvak.wireless_charger.MissingChunk;
import vendor.zorvak.wireless_charger.PhoneInfo;
import vendor.zorvak.wireless_charger.PowerInfo;
import vendor.zorvak.wireless_charger.RtxStatusInfo;
import vendor.zorvak.wireless_charger.SkinTemp;
import vendor.zorvak.wireless_charger.UpdateInfo;
import vendor.zorvak.wireless_charger.UpdateStartResponse;
import vendor.zorvak.wireless_charger.UpdateStatus;
import vendor.zorvak.wireless_charger.WirelessChargerFeature;
import vendor.zorvak.wireless_charger.WlcInfo;
import vendor.zorvak.wireless_charger.WpcAuthChallengeResponse;
import vendor.zorvak.wireless_charger.WpcAuthDigests;

/**
 * The wireless-charging dock the phone lies on, and reverse transmit.
 *
 * Errors are service-specific and listed in ErrorCode; a method that fails returns nothing else. In
 * "Errors:", "the charger's" means any of them, for whatever charger or dock report; those named
 * beside it the service finds itself.
 *
 * Methods may be called from several threads. "Takes:" says how long a call may block:
 * "at once": only the phone's charger is asked, not the dock. "A dock request": until the dock
 * answers or the charger gives it up; the service sets no limit. "A charger request": likewise, at
 * most 60 s. Requests go out one at a time: either begins when those of others have ended.
 */
@VintfStability
interface IWirelessCharger {
    /**
     * Sends a nonce to the dock and returns the dock's answer; checking it is the caller's
     * business.
     *
     * @param value any; passed to the dock as it is.
     * @param nonce exactly 8 bytes.
     * @return 8 bytes.
     * Errors: INVALID_ARGUMENT for another length of nonce, and nothing is sent; INVALID_RESPONSE
     *         for another length of the answer; the charger's.
     * Takes: a dock request.
     */
    byte[] challenge(byte value, in byte[] nonce);

    /**
     * How the phone lies on the dock now.
     *
     * @return as the charger reports it, status limited to 0 to 3.
     * Errors: the charger's, such as UNAVAILABLE without a dock.
     * Takes: at once.
     */
    AlignInfo getAlignInfo();

    /**
     * Asks the dock for the state of one fan.
     *
     * @param fan 0 to 7; a negative value is sent on as it is.
     * @return all fields; those after valid count only when that is true.
     * Errors: INVALID_ARGUMENT for a fan of 8 and above, and nothing is sent; the charger's.
     * Takes: a dock request.
     */
    FanInfo getFanInfo(byte fan);

    /**
     * The fan level as the charger reports it, without asking the dock.
     *
     * @return the level, in the charger's unit.
     * Errors: the charger's, such as UNAVAILABLE when it has no level now.
     * Takes: at once.
     */
    int getFanLevel();

    /**
     * Reads the value the charger holds for a query.
     *
     * @param query any; passed on unchanged.
     * @return bits of WirelessChargerFeature, unchanged; others may be among them.
     * Errors: the charger's.
     * Takes: at once.
     */
    WirelessChargerFeature getFeatures(long query);

    /**
     * Asks the dock to describe itself, takes its answer into the cached record and returns that.
     * What stands before a fault in the answer is in the cache nevertheless.
     *
     * @return the cached record; compatibility is as getDockInformation has read it last.
     * Errors: INVALID_RESPONSE when the flag element is not 1 byte long or the version element is
     *         shorter than 2 bytes; the charger's, also for an element that is missing.
     * Takes: a dock request.
     */
    DockInfo getInformation();

    /**
     * Status of reverse transmit, read afresh.
     *
     * @return all fields; what cannot be read is 0.
     * Errors: none.
     * Takes: at once.
     */
    RtxStatusInfo getRtxInformation();

    /**
     * Reads a certificate chain of the dock, or a part of it, in pieces of at most 127 bytes unless
     * the shell command cert.request_length has set another size.
     *
     * @param slot 0 to 3; only the two lowest bits count.
     * @param offset position in the chain, in bytes: 0 to 2047; only the 11 lowest bits count.
     * @param length how many bytes, 0 to 2044; 0 as many as the chain has, at most 1058.
     * @return at most length bytes: fewer when offset is 0 and the chain is shorter, none when the
     *         dock gives its length as 0.
     * Errors: INVALID_ARGUMENT for a length above 2044, and nothing is sent; INVALID_RESPONSE when
     *         the dock answers with another message or without data; INVALID_ARGUMENT, UNSUPPORTED,
     *         BUSY or FAILED for the dock's own error answers; the charger's.
     * Takes: a request for each piece, of 52 s at most for 127 bytes: up to 8 minutes for 1058
     *         bytes and 15 for 2044, more when the dock answers with less. A piece size of 0 gives
     *         each 330 s. Requests of others may come in between.
     */
    byte[] getWpcAuthCertificate(byte slot, char offset, char length);

    /**
     * Lets the dock sign a challenge; verifying the signature is the caller's business.
     *
     * @param slot 0 to 3; only the two lowest bits count.
     * @param nonce exactly 16 bytes, random.
     * @return as the dock sends it.
     * Errors: INVALID_ARGUMENT for another length of nonce, and nothing is sent; INVALID_RESPONSE
     *         when the answer is another message or shorter than 67 bytes; INVALID_ARGUMENT,
     *         UNSUPPORTED, BUSY or FAILED for the dock's own error answers; the charger's.
     * Takes: a charger request of 33 s at most.
     */
    WpcAuthChallengeResponse getWpcAuthChallengeResponse(byte slot, in byte[] nonce);

    /**
     * Reads the digests of the dock's certificate chains.
     *
     * @param slotMask bit n asks for slot n; only the four lowest bits count.
     * @return as the dock sends it.
     * Errors: INVALID_RESPONSE when the answer is another message; INVALID_ARGUMENT, UNSUPPORTED,
     *         BUSY or FAILED for the dock's own error answers; the charger's.
     * Takes: a charger request of 53 s at most.
     */
    WpcAuthDigests getWpcAuthDigests(byte slotMask);

    /**
     * Whether the phone lies on a dock, and on which.
     *
     * @return no dock when the dock's identifier cannot be read.
     * Errors: none.
     * Takes: at once.
     */
    DockPresent isDockPresent();

    /**
     * Whether reverse transmit is active.
     *
     * @return false also when it cannot be read.
     * Errors: none.
     * Takes: at once.
     */
    boolean isRtxModeOn();

    /**
     * Whether the phone can charge another device.
     *
     * @return false also when it cannot be read.
     * Errors: none.
     * Takes: at once.
     */
    boolean isRtxSupported();

    /**
     * Sends a key to the dock and returns the dock's.
     *
     * @param key exactly 32 bytes.
     * @return as the dock sends it, not checked.
     * Errors: INVALID_ARGUMENT for another length of key, and nothing is sent; the charger's.
     * Takes: a dock request.
     */
    KeyExchangeResponse keyExchange(in byte[] key);

    /**
     * Subscribes to the alignment. The service holds the callback until it is unregistered, its
     * process dies or a call to it fails.
     *
     * @param callback called from now on, not with the present state.
     * Errors: INVALID_ARGUMENT for null, ALREADY_EXISTS when registered already.
     * Takes: at once.
     */
    void registerCallback(@nullable IWirelessChargerInfoCallback callback);

    /**
     * Subscribes to reverse transmit; as registerCallback.
     *
     * @param callback called from now on, not with the present state.
     * Errors: INVALID_ARGUMENT for null, ALREADY_EXISTS when registered already.
     * Takes: at once.
     */
    void registerRtxCallback(@nullable IWirelessChargerRtxStatusCallback callback);

    /**
     * Subscribes to the fan level; as registerCallback.
     *
     * @param callback called from now on, not with the present state.
     * Errors: INVALID_ARGUMENT for null, ALREADY_EXISTS when registered already.
     * Takes: at once.
     */
    void registerFanLevelChangedCallback(@nullable IWirelessChargerFanLevelChangedCallback callback);

    /**
     * Sets one fan of the dock.
     *
     * @param fan 0 to 7; a negative value is sent on as its bit pattern.
     * @param mode AUTO or MANUAL. Any other value is sent as a request without fan and level.
     * @param level 0 to 65535, in the dock's unit; only with MANUAL.
     * @return only valid and level are filled.
     * Errors: INVALID_ARGUMENT for a fan of 8 and above, and nothing is sent; the charger's. A fan
     *         that the dock does not have is no error: valid is false.
     * Takes: a dock request.
     */
    FanInfo setFan(byte fan, FanMode mode, char level);

    /**
     * Writes the value the charger holds for a query.
     *
     * @param query any; passed on unchanged.
     * @param features any bits; passed on unchanged.
     * Errors: the charger's.
     * Takes: at once.
     */
    void setFeatures(long query, WirelessChargerFeature features);

    /**
     * Switches reverse transmit.
     *
     * @param enable true on, false off.
     * Errors: FAILED, whatever the reason.
     * Takes: at once.
     */
    void setRtxMode(boolean enable);

    /**
     * Ends a subscription to the alignment; nothing happens when there is none. A call that is
     * under way may still arrive.
     *
     * @param callback the object that was registered.
     * Errors: INVALID_ARGUMENT for null.
     * Takes: at once.
     */
    void unregisterCallback(@nullable IWirelessChargerInfoCallback callback);

    /**
     * Ends a subscription to reverse transmit; as unregisterCallback.
     *
     * @param callback the object that was registered.
     * Errors: INVALID_ARGUMENT for null.
     * Takes: at once.
     */
    void unregisterRtxCallback(@nullable IWirelessChargerRtxStatusCallback callback);

    /**
     * Ends a subscription to the fan level; as unregisterCallback.
     *
     * @param callback the object that was registered.
     * Errors: INVALID_ARGUMENT for null.
     * Takes: at once.
     */
    void unregisterFanLevelChangedCallback(@nullable IWirelessChargerFanLevelChangedCallback callback);

    /**
     * Untargeted update: restarts the dock.
     *
     * Errors: the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    void reboot();

    /**
     * Untargeted update: what is missing of the image.
     *
     * @return the first gap.
     * Errors: the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    MissingChunk getFirstMissingChunk();

    /**
     * Untargeted update: sends one chunk.
     *
     * @param chunkNumber 0 to 65535; the first chunk is 0.
     * @param chunkTag any; passed to the dock as it is.
     * @param data 0 to 253 bytes.
     * @return the number of the chunk the dock wants next, 0 to 65535.
     * Errors: INVALID_ARGUMENT for more than 253 bytes, and nothing is sent; the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    char sendChunk(char chunkNumber, byte chunkTag, in byte[] data);

    /**
     * Untargeted update: how far the dock is with applying the image.
     *
     * @return state and percent.
     * Errors: the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    UpdateStatus getUpdateExecutionStatus();

    /**
     * Untargeted update: what the dock takes.
     *
     * @return as the dock sends it, not checked.
     * Errors: the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    UpdateInfo getUpdateInformation();

    /**
     * Untargeted update: applies the image. The dock goes on by itself; ask for the execution
     * status.
     *
     * @return what the dock says.
     * Errors: INVALID_RESPONSE when the dock's status is above 3; the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    ExecuteStatus executeUpdate();

    /**
     * Untargeted update: opens a transfer.
     *
     * @param size of the image, in bytes.
     * @param chunkSize bytes a chunk, 0 to 253, to be read unsigned.
     * @param freshStart true to begin anew, false to continue.
     * @param version the image's; the low bytes of major and minor and at most 247 bytes of name.
     * @return nothing of use.
     * Errors: INVALID_ARGUMENT for a longer name, and nothing is sent; INVALID_RESPONSE when the
     *         dock's answer begins with neither 0 nor 1; the charger's.
     * Takes: a dock request, beside those of other callers.
     */
    UpdateStartResponse updateStart(
            int size, byte chunkSize, boolean freshStart, in FirmwareVersion version);

    /**
     * Starts authentication.
     *
     * @return true.
     * Errors: the charger's, when it cannot be started.
     * Takes: at once.
     */
    boolean isAuthReady();

    /**
     * Targeted update: restarts the dock.
     *
     * Errors: the charger's.
     * Takes: a charger request.
     */
    void sendReboot();

    /**
     * Targeted update: what is missing of the image in a target.
     *
     * @param target 0 or 1; any is sent.
     * @return the first gap.
     * Errors: the charger's.
     * Takes: a charger request.
     */
    FwMissingChunk getFirstFwMissingChunk(byte target);

    /**
     * Targeted update: sends one chunk.
     *
     * @param target 0 or 1; with any other the answer does not match.
     * @param chunkNumber 0 to 65535, the first is 0; only the low 16 bits are sent.
     * @param chunkTag any; passed to the dock as it is.
     * @param data 0 to 252 bytes.
     * @return the number of the chunk the dock wants next, 0 to 65535.
     * Errors: INVALID_ARGUMENT for more than 252 bytes, and nothing is sent; INVALID_RESPONSE when
     *         the dock did not expect the chunk or answers for another target; the charger's.
     * Takes: a charger request.
     */
    int sendFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);

    /**
     * Targeted update: how far the dock is with applying the image of a target.
     *
     * @param target 0 or 1; any is sent.
     * @return state and percent.
     * Errors: the charger's.
     * Takes: a charger request.
     */
    FwUpdateStatus getFwUpdateExecutionStatus(byte target);

    /**
     * Targeted update: what a target takes and what it runs now.
     *
     * @param target 0 or 1; any is sent.
     * @return as the dock sends it, not checked.
     * Errors: the charger's.
     * Takes: a charger request.
     */
    FwUpdateInfo getFwUpdateInformation(byte target);

    /**
     * Targeted update: applies the image of a target. The dock goes on by itself; ask for the
     * execution status.
     *
     * @param target 0 or 1; any is sent.
     * @return what the dock says.
     * Errors: INVALID_RESPONSE when the dock answers for another target or with a status above 3;
     *         the charger's.
     * Takes: a charger request.
     */
    ExecuteStatus fwExecuteUpdate(byte target);

    /**
     * Targeted update: opens a transfer.
     *
     * @param target 0 or 1; any is sent.
     * @param size of the image, in bytes.
     * @param chunkSize bytes a chunk, 0 to 252, to be read unsigned.
     * @param freshStart true to begin anew, false to continue.
     * @param version the image's; the low bytes of major and minor, name is not used.
     * @return what the dock made of it.
     * Errors: INVALID_RESPONSE when the dock says neither that it begins nor that it resumes; the
     *         charger's.
     * Takes: a charger request.
     */
    FwUpdateStartResponse fwUpdateStart(
            byte target, int size, byte chunkSize, boolean freshStart, in FirmwareVersion version);

    /**
     * Targeted update: opens a transfer of a compressed image, which the dock expands.
     *
     * @param target 0 or 1; any is sent.
     * @param size of the expanded image, in bytes.
     * @param chunkSize bytes a chunk, 0 to 252, to be read unsigned.
     * @param freshStart true to begin anew, false to continue.
     * @param compressSize of the compressed image, in bytes; 0 makes this fwUpdateStart.
     * @param version the image's; the low bytes of major and minor, name is not used.
     * @return what the dock made of it.
     * Errors: as fwUpdateStart.
     * Takes: a charger request.
     */
    FwUpdateStartResponse compressFwUpdateStart(byte target, int size, byte chunkSize,
            boolean freshStart, int compressSize, in FirmwareVersion version);

    /**
     * Targeted update: as sendFwChunk, and also tells the dock's temperatures.
     *
     * @param target 0 or 1; with any other the answer does not match.
     * @param chunkNumber 0 to 65535, the first is 0; only the low 16 bits are sent.
     * @param chunkTag any; passed to the dock as it is.
     * @param data 0 to 252 bytes.
     * @return the chunk the dock wants next, and its temperatures.
     * Errors: as sendFwChunk.
     * Takes: a charger request.
     */
    ChunkResponse sendCompressFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);

    /**
     * The dock's temperatures.
     *
     * @return as the dock reports them.
     * Errors: the charger's.
     * Takes: a charger request.
     */
    SkinTemp getSkinTemperature();

    /**
     * The phone's receiver.
     *
     * @return qiSpec 0 when it cannot be read.
     * Errors: none.
     * Takes: at once.
     */
    PhoneInfo getPhoneInformation();

    /**
     * The cached description of the dock with its compatibility read afresh.
     *
     * @return what getInformation and updateInformation have filled since charging began;
     *         compatibility 0 when it cannot be read.
     * Errors: none.
     * Takes: at once.
     */
    DockInfo getDockInformation();

    /**
     * Gives the service the dock's Qi ID.
     *
     * @param info its dockInfo.qiId, a decimal number, is kept in the cached record and, its low
     *         16 bits, given to the charger; an empty text counts as 0, one that is no number is
     *         only kept. Any other member of the union is ignored.
     * Errors: none.
     * Takes: at once.
     */
    void updateInformation(in WlcInfo info);

    /**
     * Charging power.
     *
     * @return what cannot be read keeps its default.
     * Errors: none.
     * Takes: at once.
     */
    PowerInfo getPowerInformation();
}
