// The API of vendor.zorvak.wireless_charger.IWirelessCharger, as its users see it. Written by
// `aidl --dumpapi`: do not edit. A version that has been released never changes; a change
// of the interface becomes a new version.
package vendor.zorvak.wireless_charger;
@VintfStability
interface IWirelessCharger {
  byte[] challenge(byte value, in byte[] nonce);
  vendor.zorvak.wireless_charger.AlignInfo getAlignInfo();
  vendor.zorvak.wireless_charger.FanInfo getFanInfo(byte fan);
  int getFanLevel();
  vendor.zorvak.wireless_charger.WirelessChargerFeature getFeatures(long query);
  vendor.zorvak.wireless_charger.DockInfo getInformation();
  vendor.zorvak.wireless_charger.RtxStatusInfo getRtxInformation();
  byte[] getWpcAuthCertificate(byte slot, char offset, char length);
  vendor.zorvak.wireless_charger.WpcAuthChallengeResponse getWpcAuthChallengeResponse(byte slot, in byte[] nonce);
  vendor.zorvak.wireless_charger.WpcAuthDigests getWpcAuthDigests(byte slotMask);
  vendor.zorvak.wireless_charger.DockPresent isDockPresent();
  boolean isRtxModeOn();
  boolean isRtxSupported();
  vendor.zorvak.wireless_charger.KeyExchangeResponse keyExchange(in byte[] key);
  void registerCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerInfoCallback callback);
  void registerRtxCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerRtxStatusCallback callback);
  void registerFanLevelChangedCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerFanLevelChangedCallback callback);
  vendor.zorvak.wireless_charger.FanInfo setFan(byte fan, vendor.zorvak.wireless_charger.FanMode mode, char level);
  void setFeatures(long query, vendor.zorvak.wireless_charger.WirelessChargerFeature features);
  void setRtxMode(boolean enable);
  void unregisterCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerInfoCallback callback);
  void unregisterRtxCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerRtxStatusCallback callback);
  void unregisterFanLevelChangedCallback(@nullable vendor.zorvak.wireless_charger.IWirelessChargerFanLevelChangedCallback callback);
  void reboot();
  vendor.zorvak.wireless_charger.MissingChunk getFirstMissingChunk();
  char sendChunk(char chunkNumber, byte chunkTag, in byte[] data);
  vendor.zorvak.wireless_charger.UpdateStatus getUpdateExecutionStatus();
  vendor.zorvak.wireless_charger.UpdateInfo getUpdateInformation();
  vendor.zorvak.wireless_charger.ExecuteStatus executeUpdate();
  vendor.zorvak.wireless_charger.UpdateStartResponse updateStart(int size, byte chunkSize, boolean freshStart, in vendor.zorvak.wireless_charger.FirmwareVersion version);
  boolean isAuthReady();
  void sendReboot();
  vendor.zorvak.wireless_charger.FwMissingChunk getFirstFwMissingChunk(byte target);
  int sendFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);
  vendor.zorvak.wireless_charger.FwUpdateStatus getFwUpdateExecutionStatus(byte target);
  vendor.zorvak.wireless_charger.FwUpdateInfo getFwUpdateInformation(byte target);
  vendor.zorvak.wireless_charger.ExecuteStatus fwExecuteUpdate(byte target);
  vendor.zorvak.wireless_charger.FwUpdateStartResponse fwUpdateStart(byte target, int size, byte chunkSize, boolean freshStart, in vendor.zorvak.wireless_charger.FirmwareVersion version);
  vendor.zorvak.wireless_charger.FwUpdateStartResponse compressFwUpdateStart(byte target, int size, byte chunkSize, boolean freshStart, int compressSize, in vendor.zorvak.wireless_charger.FirmwareVersion version);
  vendor.zorvak.wireless_charger.ChunkResponse sendCompressFwChunk(byte target, int chunkNumber, byte chunkTag, in byte[] data);
  vendor.zorvak.wireless_charger.SkinTemp getSkinTemperature();
  vendor.zorvak.wireless_charger.PhoneInfo getPhoneInformation();
  vendor.zorvak.wireless_charger.DockInfo getDockInformation();
  void updateInformation(in vendor.zorvak.wireless_charger.WlcInfo info);
  vendor.zorvak.wireless_charger.PowerInfo getPowerInformation();
}
