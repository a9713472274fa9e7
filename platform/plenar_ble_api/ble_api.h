#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// What the module may expect of the BLE API library: a file named `plenar_ble_api.dll` with the 17
/// exports below, resolved by name at run time and never linked. The functions are declared here
/// for their types only.
///
/// The library keeps the callables that it is given, and may invoke each on any thread of its own,
/// at any time after it was handed over. An empty callable withdraws the one given before: when the
/// setter returns, that one is running nowhere and is not invoked any more. What a function throws
/// counts as its refusal.
///
/// The module starts and stops the publisher by the statuses that it is told of, and only a status
/// frees a publisher that is starting or stopping. A good library therefore
///  - reports a running publisher stopped (4) inside `BleUnInit`, before it drops the callables,
///  - takes the new data when it is started while it runs, and reports the statuses of that start,
///  - reports stopped when it is told to stop and nothing runs.

/// 0 is no error; any value may be reported, the named ones have a meaning for the module.
enum class BleError : std::int32_t {
  kNone = 0,
  kAdapterTemporarilyUnavailable = 6,
  kPublisherInUse = 102,
};

enum class BlePublisherStatus : std::int32_t {
  kStarting = 1,
  kStarted = 2,
  kStopping = 3,
  kStopped = 4,
};

/// One received broadcast.
struct BleBroadcastInfo {
  std::string address;
  std::string local_name;  ///< From the air: any bytes.
  std::int16_t rssi = 0;   ///< dBm
  std::vector<std::string> service_uuids;
  bool connectable = false;
  std::uint16_t advertisement_type = 0;
  std::map<std::uint16_t, std::vector<std::uint8_t>> manufacturer_data;  ///< By company identifier.
  std::map<std::uint16_t, std::vector<std::uint8_t>> data_sections;      ///< By data type.
};

using BleLogFunc = std::function<void(const char* file, int line, const char* function, int level,
                                      const char* message)>;
using BleReceivedBroadcastCB = std::function<void(const BleBroadcastInfo& info)>;
using BleStoppedWatchBroadcastCB = std::function<void(BleError error)>;
using BleStatusChangedCB = std::function<void(BlePublisherStatus status, BleError error)>;

extern "C" {

/// Brings the library up; `reserved` is 0. Returns 0 when ready.
int BleInit(std::uintptr_t reserved);
/// Takes the library down; a running publisher is reported stopped first. No callable is running or
/// invoked any more when it returns, except the log callable.
void BleUnInit();
void BleSetLogFunc(BleLogFunc log);
/// `BleError::kNone` when the adapter can be used.
BleError BleCheckState();

/// Scan mode 0, 1 or 2, for the next start of the watcher.
void BleClientSetScanMode(int mode);
void BleClientSetServiceUuidFilter(const char* uuid);
void BleClientSetManufacturerDataFilter(std::uint16_t company, const std::uint8_t* data,
                                        std::size_t length);
void BleClientSetSignalStrengthFilter(std::int16_t minimum_dbm);
void BleClientSetReceivedBroadcastCB(BleReceivedBroadcastCB callback);
void BleClientSetStoppedWatchBroadcastCB(BleStoppedWatchBroadcastCB callback);
/// Returns 0 when watching.
int BleClientStartWatchBroadcast();
/// Ends watching; the stopped callable reports when that is done.
void BleClientStopWatchBroadcast();

/// Sets the manufacturer-specific data of the next start. Returns 0 when accepted.
int BleServerAddManufacturerData(std::uint16_t company, const std::uint8_t* data,
                                 std::size_t length);
int BleServerAddDataSection(std::uint8_t type, const std::uint8_t* data, std::size_t length);
void BleServerSetStatusChangedCB(BleStatusChangedCB callback);
/// Returns 0 when the start was accepted; the status callable reports how it goes, also when the
/// publisher was running.
int BleServerStartBroadcast();
/// The status callable reports when that is done, also when nothing was running.
void BleServerStopBroadcast();

}  // extern "C"
