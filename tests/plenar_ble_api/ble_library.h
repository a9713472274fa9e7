#pragma once

#include <string>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "tests/plenar_ble_api/shared_library.h"

/// The BLE API library under test, loaded, with its exports bound by name.
struct BleLibrary {
  BleLibrary();

  SharedLibrary library{PLENAR_BLE_API_PATH};
  decltype(&BleInit) Init;
  decltype(&BleUnInit) UnInit;
  decltype(&BleSetLogFunc) SetLogFunc;
  decltype(&BleCheckState) CheckState;
  decltype(&BleClientSetScanMode) SetScanMode;
  decltype(&BleClientSetServiceUuidFilter) SetServiceUuidFilter;
  decltype(&BleClientSetManufacturerDataFilter) SetManufacturerDataFilter;
  decltype(&BleClientSetSignalStrengthFilter) SetSignalStrengthFilter;
  decltype(&BleClientSetReceivedBroadcastCB) SetReceivedBroadcastCB;
  decltype(&BleClientSetStoppedWatchBroadcastCB) SetStoppedWatchBroadcastCB;
  decltype(&BleClientStartWatchBroadcast) StartWatchBroadcast;
  decltype(&BleClientStopWatchBroadcast) StopWatchBroadcast;
  decltype(&BleServerAddManufacturerData) AddManufacturerData;
  decltype(&BleServerAddDataSection) AddDataSection;
  decltype(&BleServerSetStatusChangedCB) SetStatusChangedCB;
  decltype(&BleServerStartBroadcast) StartBroadcast;
  decltype(&BleServerStopBroadcast) StopBroadcast;
  plenar_ble_control::VirtualRadio* radio;

  /// Advertises these bytes for company 0x7E51. The result of the start.
  int Advertise(const std::string& data = "\1\2\3");
};

/// The bytes that a broadcast carries for company 0x7E51.
std::string DataOf(const BleBroadcastInfo& info);
