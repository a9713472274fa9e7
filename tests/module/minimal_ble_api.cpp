#include "tests/module/minimal_ble_api.h"

#include <mutex>
#include <utility>

namespace {

MinimalBleApi state;

template <class Callable>
void Keep(Callable MinimalBleApi::*member, Callable callable) {
  std::unique_lock lock(state.mutex);
  state.*member = std::move(callable);
}

}  // namespace

extern "C" {

MinimalBleApi* MinimalBleApiState();
MinimalBleApi* MinimalBleApiState() {
  return &state;
}

int BleInit(std::uintptr_t) {
  return 0;
}
void BleUnInit() {
  std::unique_lock lock(state.mutex);
  state.received = nullptr;
  state.stopped = nullptr;
  state.status_changed = nullptr;
}
void BleSetLogFunc(BleLogFunc) {}
BleError BleCheckState() {
  return BleError::kNone;
}

void BleClientSetScanMode(int) {}
void BleClientSetServiceUuidFilter(const char*) {}
void BleClientSetManufacturerDataFilter(std::uint16_t, const std::uint8_t*, std::size_t) {}
void BleClientSetSignalStrengthFilter(std::int16_t) {}
void BleClientSetReceivedBroadcastCB(BleReceivedBroadcastCB callback) {
  Keep(&MinimalBleApi::received, std::move(callback));
}
void BleClientSetStoppedWatchBroadcastCB(BleStoppedWatchBroadcastCB callback) {
  Keep(&MinimalBleApi::stopped, std::move(callback));
}
int BleClientStartWatchBroadcast() {
  return 0;
}
void BleClientStopWatchBroadcast() {}

int BleServerAddManufacturerData(std::uint16_t, const std::uint8_t*, std::size_t) {
  return 0;
}
int BleServerAddDataSection(std::uint8_t, const std::uint8_t*, std::size_t) {
  return 0;
}
void BleServerSetStatusChangedCB(BleStatusChangedCB callback) {
  Keep(&MinimalBleApi::status_changed, std::move(callback));
}
int BleServerStartBroadcast() {
  return 0;
}
void BleServerStopBroadcast() {}

}  // extern "C"
