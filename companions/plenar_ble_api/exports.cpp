#include <cstddef>
#include <cstdint>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "radio/radio.h"

// The exported functions. Which symbols show is said where the library is linked.

namespace {

using plenar_ble::ActiveRadio;

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

// What the module never calls: accepted, and of no effect on any radio.

void BleClientSetServiceUuidFilter(const char*) {}

void BleClientSetManufacturerDataFilter(std::uint16_t, const std::uint8_t*, std::size_t) {}

void BleClientSetSignalStrengthFilter(std::int16_t) {}

int BleServerAddDataSection(std::uint8_t, const std::uint8_t*, std::size_t) {
  return plenar_ble::kAccepted;
}

}  // extern "C"
