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
 * Errors are service-specific and listed in ErrorCode. Every method that asks the dock or the
 * charger may fail with any of them, for whatever the charger reports; the errors named at a
 * method are those it finds itself. A method that fails returns nothing else.
 *
 * Methods may be called from several threads. Requests to the dock are sent one at a time and
 * block until it answers, at worst for about a minute, and for reading certificates minutes.
 */
@VintfStability
interface IWirelessCharger {
    /**
     * Sends a nonce to the dock and returns the dock's 8 answer bytes.
     *
     * @param value passed to the dock as it is.
     * @param nonce exactly 8 bytes, else INVALID_ARGUMENT and nothing is sent.
     * @return 8 bytes; INVALID_RESPONSE when the dock's answer has another length.
     */
    byte[] challenge(byte value, in byte[] nonce);

    /** How the phone lies on the dock now. */
    AlignInfo getAlignInfo();

    /**
     * Asks the dock for the state of one fan.
     *
     * @param fan 0 to 7. 8 and above give INVALID_ARGUMENT and nothing is sent; a negative value
     *         is sent on as it is.
     */
    FanInfo getFanInfo(byte fan);

    /** The fan level as the charger reports it, without asking the dock. */
    int getFanLevel();

    /** Reads the value the charger holds for a query; both are passed on unchanged. */
    WirelessChargerFeature getFeatures(long query);

    /**
     * Asks the dock to describe itself, takes its answer into the cached record and returns that.
     *
     * INVALID_RESPONSE when the flag element is not 1 byte long or the version element is shorter
     * than 2 bytes; what stands before the fault in the answer is in the cache nevertheless.
     */
    DockInfo getInformation();

    /** Status of reverse transmit, read afresh; never fails, what cannot be read is 0. */
    RtxStatusInfo getRtxInformation();

    /**
     * Reads a certificate chain of the dock, or a part of it.
     *
     * @param slot 0 to 3; only the two lowest bits count.
     * @param offset position in the chain, in bytes; 0 to 2047.
     * @param length how many bytes, at most 2044, else INVALID_ARGUMENT and nothing is sent; 0 as
     *         many as the chain has, at most 1058.
     * @return at most length bytes: fewer when offset is 0 and the chain is shorter, none when the
     *         dock gives its length as 0. INVALID_RESPONSE when the dock answers with another
     *         message or without data; INVALID_ARGUMENT, UNSUPPORTED, BUSY or FAILED for the dock's
     *         own error answers.
     */
    byte[] getWpcAuthCertificate(byte slot, char offset, char length);

    /**
     * Lets the dock sign a challenge.
     *
     * @param slot 0 to 3; only the two lowest bits count.
     * @param nonce exactly 16 bytes, random, else INVALID_ARGUMENT and nothing is sent.
     * @return as the dock sends it; verifying it is the caller's business. INVALID_RESPONSE when
     *         the answer is another message or shorter than 67 bytes; INVALID_ARGUMENT,
     *         UNSUPPORTED, BUSY or FAILED for the dock's own error answers.
     */
    WpcAuthChallengeResponse getWpcAuthChallengeResponse(byte slot, in byte[] nonce);

    /**
     * Reads the digests of the dock's certificate chains.
     *
     * @param slotMask bit n asks for slot n; only the four lowest bits count.
     * @return INVALID_RESPONSE when the answer is another message; INVALID_ARGUMENT, UNSUPPORTED,
     *         BUSY or FAILED for the dock's own error answers.
     */
    WpcAuthDigests getWpcAuthDigests(byte slotMask);

    /**
     * Whether the phone lies on a dock, and on which; never fails, no dock when it cannot be read.
     */
    DockPresent isDockPresent();

    /** Whether reverse transmit is active; never fails, false when it cannot be read. */
    boolean isRtxModeOn();

    /** Whether the phone can charge another device; never fails. */
    boolean isRtxSupported();

    /**
     * Sends a key to the dock and returns the dock's.
     *
     * @param key exactly 32 bytes, else INVALID_ARGUMENT and nothing is sent.
     */
    KeyExchangeResponse keyExchange(in byte[] key);

    /**
     * Subscribes to the alignment. The service holds the callback until it is unregistered, its
     * process dies or a call to it fails.
     *
     * @param callback INVALID_ARGUMENT when null, ALREADY_EXISTS when registered already.
     */
    void registerCallback(@nullable IWirelessChargerInfoCallback callback);

    /** Subscribes to reverse transmit; as registerCallback. */
    void registerRtxCallback(@nullable IWirelessChargerRtxStatusCallback callback);

    /** Subscribes to the fan level; as registerCallback. */
    void registerFanLevelChangedCallback(@nullable IWirelessChargerFanLevelChangedCallback callback);

    /**
     * Sets one fan of the dock.
     *
     * @param fan 0 to 7. 8 and above give INVALID_ARGUMENT and nothing is sent; a negative value
     *         is sent on as its bit pattern.
     * @param mode AUTO or MANUAL. Any other value is sent as a request without fan and level.
     * @param level 0 to 65535, in the dock's unit; only with MANUAL.
     * @return only valid and level are filled.
     */
    FanInfo setFan(byte fan, FanMode mode, char level);

    /** Writes the value the charger holds for a query; both are passed on unchanged. */
    void setFeatures(long query, WirelessChargerFeature features);

    /** Switches reverse transmit on or off; any failure is FAILED. */
    void setRtxMode(boolean enable);

    /**
     * Ends a subscription; nothing happens when there is none.
     *
     * @param callback INVALID_ARGUMENT when null.
     */
    void unregisterCallback(@nullable IWirelessChargerInfoCallback callback);

    /** As unregisterCallback. */
    void unregisterRtxCallback(@nullable IWirelessChargerRtxStatusCallback callback);

    /** As unregisterCallback. */
    void unregisterFanLevelChangedCallback(@nullable IWirelessChargerFanLevelChangedCallback callback);

    /** Untargeted update: restarts the dock. */
    void reboot();

    /** Untargeted update: what is missing of the image. */
    MissingChunk getFirstMissingChunk();

    /**
     * Untargeted update: sends one chunk.
     *
     * @param chunkTag passed to the dock as it is.
     * @param data at most 253 bytes, else INVALID_ARGUMENT and nothing is sent.
     * @return the number of the chunk the dock wants next.
     */
    char sendChunk(char chunkNumber, byte chunkTag, in byte[] data);

    /** Untargeted update: how far the dock is with applying the image. */
    UpdateStatus getUpdateExecutionStatus();

    /** Untargeted update: what the dock takes. */
    UpdateInfo getUpdateInformation();

    /**
     * Untargeted update: applies the image. INVALID_RESPONSE when the dock's status is above 3.
     */
    ExecuteStatus executeUpdate();

    /**
     * Untargeted update: opens a transfer.
     *
     * @param size of the image, in bytes.
     * @param chunkSize bytes a chunk, 0 to 253, as an unsigned number.
     * @param freshStart true to begin anew, false to continue.
     * @param version the image's; name at most 247 bytes, else INVALID_ARGUMENT and nothing is
     *         sent.
     * @return nothing of use; INVALID_RESPONSE when the dock's answer begins with neither 0 nor 1.
     */
    UpdateStartResponse updateStart(
            int size, byte chunkSize, boolean freshStart, in FirmwareVersion version);

    /**
     * Starts authentication.
     *
     * @return true; when it cannot be started, the charger's error instead.
     */
    boolean isAuthReady();

    /** Targeted update: restarts the dock. */
    void sendReboot();

    /** Targeted update: what is missing of the image in a target. */
    FwMissingChunk getFirstFwMissingChunk(byte target);

    /**
     * Targeted update: sends one chunk.
     *
     * @param target 0 or 1; with any other the answer does not match.
     * @param chunkNumber 0 to 65535; only the low 16 bits are sent.
     * @param chunkTag passed to the dock as it is.
     * @param data at most 252 bytes, else INVALID_ARGUMENT and nothing is sent.
     * @return the number of the chunk the dock wants next, 0 to 65535. INVALID_RESPONSE when the
     *         dock did not expect the chunk or answers for another target.
     */
    int sendFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);

    /** Targeted update: how far the dock is with applying the image of a target. */
    FwUpdateStatus getFwUpdateExecutionStatus(byte target);

    /** Targeted update: what a target takes and what it runs now. */
    FwUpdateInfo getFwUpdateInformation(byte target);

    /**
     * Targeted update: applies the image of a target. INVALID_RESPONSE when the dock answers for
     * another target or with a status above 3.
     */
    ExecuteStatus fwExecuteUpdate(byte target);

    /**
     * Targeted update: opens a transfer.
     *
     * @param size of the image, in bytes.
     * @param chunkSize bytes a chunk, 0 to 252, as an unsigned number.
     * @param freshStart true to begin anew, false to continue.
     * @param version the image's; name is not used.
     * @return INVALID_RESPONSE when the dock says neither that it begins nor that it resumes.
     */
    FwUpdateStartResponse fwUpdateStart(
            byte target, int size, byte chunkSize, boolean freshStart, in FirmwareVersion version);

    /**
     * Targeted update: opens a transfer of a compressed image, which the dock expands.
     *
     * @param size of the expanded image, in bytes.
     * @param compressSize of the compressed image, in bytes; 0 makes this fwUpdateStart.
     */
    FwUpdateStartResponse compressFwUpdateStart(byte target, int size, byte chunkSize,
            boolean freshStart, int compressSize, in FirmwareVersion version);

    /** Targeted update: as sendFwChunk, and also tells the dock's temperatures. */
    ChunkResponse sendCompressFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);

    /** The dock's temperatures. */
    SkinTemp getSkinTemperature();

    /** The phone's receiver; never fails, qiSpec is 0 when it cannot be read. */
    PhoneInfo getPhoneInformation();

    /**
     * The cached description of the dock with its compatibility read afresh; never fails.
     * getInformation fills the rest.
     */
    DockInfo getDockInformation();

    /**
     * Gives the service the dock's Qi ID; never fails.
     *
     * @param info its dockInfo.qiId, a decimal number, is kept in the cached record and, its low
     *         16 bits, given to the charger; a text that is no number is only kept.
     */
    void updateInformation(in WlcInfo info);

    /** Charging power; never fails, what cannot be read keeps its default. */
    PowerInfo getPowerInformation();
}
