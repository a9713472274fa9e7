#include "tests/plenar_ble_api/ble_library.h"

BleLibrary::BleLibrary() {
  library.Bind(Init, "BleInit");
  library.Bind(UnInit, "BleUnInit");
  library.Bind(SetLogFunc, "BleSetLogFunc");
  library.Bind(CheckState, "BleCheckState");
  library.Bind(SetScanMode, "BleClientSetScanMode");
  library.Bind(SetServiceUuidFilter, "BleClientSetServiceUuidFilter");
  library.Bind(SetManufacturerDataFilter, "BleClientSetManufacturerDataFilter");
  library.Bind(SetSignalStrengthFilter, "BleClientSetSignalStrengthFilter");
  library.Bind(SetReceivedBroadcastCB, "BleClientSetReceivedBroadcastCB");
  library.Bind(SetStoppedWatchBroadcastCB, "BleClientSetStoppedWatchBroadcastCB");
  library.Bind(StartWatchBroadcast, "BleClientStartWatchBroadcast");
  library.Bind(StopWatchBroadcast, "BleClientStopWatchBroadcast");
  library.Bind(AddManufacturerData, "BleServerAddManufacturerData");
  library.Bind(AddDataSection, "BleServerAddDataSection");
  library.Bind(SetStatusChangedCB, "BleServerSetStatusChangedCB");
  library.Bind(StartBroadcast, "BleServerStartBroadcast");
  library.Bind(StopBroadcast, "BleServerStopBroadcast");
  plenar_ble_control::PlenarBleControlFunction* control = nullptr;
  library.Bind(control, plenar_ble_control::kControlExport);
  radio = control();
}

int BleLibrary::Advertise(const std::string& data) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(data.data());
  if (const int result = AddManufacturerData(0x7E51, bytes, data.size())) return result;
  return StartBroadcast();
}

std::string DataOf(const BleBroadcastInfo& info) {
  const auto item = info.manufacturer_data.find(0x7E51);
  if (item == info.manufacturer_data.end()) return {};
  return {item->second.begin(), item->second.end()};
}
