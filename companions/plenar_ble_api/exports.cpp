#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "radio/radio.h"

// The exported functions. Which symbols show is said where the library is linked.

namespace {

using plenar_ble::ActiveRadio;
using Bytes = std::vector<std::uint8_t>;

/// Nothing leaves an exported function but what the virtual radio was told to throw.
template <class Operation>
auto Guarded(const Operation& operation) -> decltype(operation()) {
  try {
    return operation();
  } catch (const plenar_ble_control::ScriptedFailure&) {
    throw;
  } catch (...) {
    using R = decltype(operation());
    if constexpr (!std::is_void_v<R>) return static_cast<R>(plenar_ble::kFailure);
  }
}

Bytes Copy(const std::uint8_t* data, std::size_t length) {
  return data == nullptr ? Bytes() : Bytes(data, data + length);
}

/// What the functions were given that the module never calls. No radio uses it.
struct {
  std::mutex mutex;
  std::string service_uuid;
  std::pair<std::uint16_t, Bytes> manufacturer_data;
  std::int16_t minimum_dbm = std::numeric_limits<std::int16_t>::min();
  std::map<std::uint8_t, Bytes> data_sections;
} never_called;

}  // namespace

extern "C" {

int BleInit(std::uintptr_t reserved) {
  return Guarded([=] { return ActiveRadio().Init(reserved); });
}

void BleUnInit() {
  Guarded([] { ActiveRadio().UnInit(); });
}

void BleSetLogFunc(BleLogFunc log) {
  Guarded([&] { ActiveRadio().SetLog(std::move(log)); });
}

BleError BleCheckState() {
  return Guarded([] { return ActiveRadio().CheckState(); });
}

void BleClientSetScanMode(int mode) {
  Guarded([=] { ActiveRadio().SetScanMode(mode); });
}

void BleClientSetReceivedBroadcastCB(BleReceivedBroadcastCB callback) {
  Guarded([&] { ActiveRadio().SetReceived(std::move(callback)); });
}

void BleClientSetStoppedWatchBroadcastCB(BleStoppedWatchBroadcastCB callback) {
  Guarded([&] { ActiveRadio().SetStopped(std::move(callback)); });
}

int BleClientStartWatchBroadcast() {
  return Guarded([] { return ActiveRadio().StartWatch(); });
}

void BleClientStopWatchBroadcast() {
  Guarded([] { ActiveRadio().StopWatch(); });
}

int BleServerAddManufacturerData(std::uint16_t company, const std::uint8_t* data,
                                 std::size_t length) {
  if ((data == nullptr && length != 0) || length > plenar_ble::kMaxManufacturerDataLength) {
    return plenar_ble::kInvalidArgument;
  }
  return Guarded([=] { return ActiveRadio().SetManufacturerData(company, {data, length}); });
}

void BleServerSetStatusChangedCB(BleStatusChangedCB callback) {
  Guarded([&] { ActiveRadio().SetStatusChanged(std::move(callback)); });
}

int BleServerStartBroadcast() {
  return Guarded([] { return ActiveRadio().StartBroadcast(); });
}

void BleServerStopBroadcast() {
  Guarded([] { ActiveRadio().StopBroadcast(); });
}

void BleClientSetServiceUuidFilter(const char* uuid) {
  Guarded([=] {
    const std::scoped_lock lock(never_called.mutex);
    never_called.service_uuid = uuid == nullptr ? "" : uuid;
  });
}

void BleClientSetManufacturerDataFilter(std::uint16_t company, const std::uint8_t* data,
                                        std::size_t length) {
  Guarded([=] {
    const std::scoped_lock lock(never_called.mutex);
    never_called.manufacturer_data = {company, Copy(data, length)};
  });
}

void BleClientSetSignalStrengthFilter(std::int16_t minimum_dbm) {
  Guarded([=] {
    const std::scoped_lock lock(never_called.mutex);
    never_called.minimum_dbm = minimum_dbm;
  });
}

int BleServerAddDataSection(std::uint8_t type, const std::uint8_t* data, std::size_t length) {
  return Guarded([=] {
    const std::scoped_lock lock(never_called.mutex);
    never_called.data_sections[type] = Copy(data, length);
    return plenar_ble::kAccepted;
  });
}

}  // extern "C"
