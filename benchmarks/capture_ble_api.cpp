// A BLE API library that does nothing but keep the callables: what is measured is the module.
#include "benchmarks/capture_ble_api.h"

#include <utility>

namespace {

qvs_bench::Captured captured;

}  // namespace

extern "C" {

qvs_bench::Captured* CapturedCallables();
qvs_bench::Captured* CapturedCallables() {
  return &captured;
}

int BleInit(std::uintptr_t) {
  return 0;
}
void BleUnInit() {
  captured = {};
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
  captured.received = std::move(callback);
}
void BleClientSetStoppedWatchBroadcastCB(BleStoppedWatchBroadcastCB) {}
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
void BleServerSetStatusChangedCB(BleStatusChangedCB) {}
int BleServerStartBroadcast() {
  return 0;
}
void BleServerStopBroadcast() {}

}  // extern "C"
