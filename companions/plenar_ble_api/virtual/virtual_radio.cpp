#include "virtual/virtual_radio.h"

#include <cstddef>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "text.h"

namespace plenar_ble {
namespace {

using Lock = RadioCore::Lock;

template <class Callable>
std::string Describe(const Callable& callable) {
  return callable ? "callable=set" : "callable=empty";
}

}  // namespace

VirtualRadio& VirtualRadio::Instance() {
  alignas(VirtualRadio) static std::byte storage[sizeof(VirtualRadio)];
  static VirtualRadio* const radio = new (storage) VirtualRadio;
  return *radio;
}

int VirtualRadio::Init(std::uintptr_t reserved) {
  const std::string arguments = "reserved=" + std::to_string(reserved);
  if (const int told = Begin("BleInit", arguments)) return told;
  const auto lifecycle = LockLifecycle(lifecycle_mutex_);
  if (!lifecycle) return kBusy;
  if (!library_) library_ = ReferToLibrary();
  const Lock lock(core_.mutex);
  core_.initialised = true;
  return kAccepted;
}

void VirtualRadio::UnInit() {
  Begin("BleUnInit");
  const auto lifecycle = LockLifecycle(lifecycle_mutex_);
  if (!lifecycle) return;
  TakeDown(true);
  if (!OnLibraryThread()) library_.reset();
}

BleError VirtualRadio::CheckState() {
  if (const int told = Begin("BleCheckState")) return BleError{told};
  const Lock lock(core_.mutex);
  return core_.initialised ? BleError::kNone : kCheckedBeforeInit;
}

void VirtualRadio::SetLog(BleLogFunc log) {
  Begin("BleSetLogFunc", Describe(log));
  core_.log.Set(std::move(log));
}

void VirtualRadio::SetScanMode(int mode) {
  Begin("BleClientSetScanMode", "mode=" + std::to_string(mode));
  if (mode >= 0 && mode <= 2) return;  // There is no difference between these.
  const Lock lock(core_.mutex);
  core_.Log(LogLevel::kError, "there is no scan mode " + std::to_string(mode));
}

void VirtualRadio::SetReceived(BleReceivedBroadcastCB callback) {
  Begin("BleClientSetReceivedBroadcastCB", Describe(callback));
  watcher_.received.Set(std::move(callback));
}

void VirtualRadio::SetStopped(BleStoppedWatchBroadcastCB callback) {
  Begin("BleClientSetStoppedWatchBroadcastCB", Describe(callback));
  watcher_.stopped.Set(std::move(callback));
}

int VirtualRadio::StartWatch() {
  if (const int told = Begin("BleClientStartWatchBroadcast")) return told;
  const Lock lock(core_.mutex);
  return watcher_.Start();
}

void VirtualRadio::StopWatch() {
  Begin("BleClientStopWatchBroadcast");
  const Lock lock(core_.mutex);
  watcher_.Stop();
}

int VirtualRadio::SetManufacturerData(std::uint16_t company, std::span<const std::uint8_t> data) {
  const std::uint8_t company_bytes[]{static_cast<std::uint8_t>(company >> 8),
                                     static_cast<std::uint8_t>(company & 0xFF)};
  const std::string arguments = "company=0x" + HexText(company_bytes) +
                                " data=" + (data.data() == nullptr ? "null" : HexText(data));
  if (const int told = Begin("BleServerAddManufacturerData", arguments)) return told;
  const Lock lock(core_.mutex);
  publisher_.SetManufacturerData(company, data);
  return kAccepted;
}

void VirtualRadio::SetStatusChanged(BleStatusChangedCB callback) {
  Begin("BleServerSetStatusChangedCB", Describe(callback));
  publisher_.status_changed.Set(std::move(callback));
}

int VirtualRadio::StartBroadcast() {
  if (const int told = Begin("BleServerStartBroadcast")) return told;
  const Lock lock(core_.mutex);
  return publisher_.Start();
}

void VirtualRadio::StopBroadcast() {
  Begin("BleServerStopBroadcast");
  const Lock lock(core_.mutex);
  publisher_.Stop();
}

void VirtualRadio::Clear() {
  const auto lifecycle = LockLifecycle(lifecycle_mutex_);
  if (!lifecycle) return;
  TakeDown(false);
  core_.log.Set({});
  call_observer_.Set({});
  const Lock lock(core_.mutex);
  steps_.clear();
  core_.scheduler.SetClock(std::nullopt);
  core_.air = plenar_ble_control::Air::kLoopback;
  core_.delays = plenar_ble_control::ReportDelays{};
  watcher_.ClearAir();
}

void VirtualRadio::TakeDown(bool reports) {
  Lock lock(core_.mutex);
  core_.initialised = false;
  const bool stops_publisher = publisher_.TakeDown();
  watcher_.TakeDown(lock);
  core_.scheduler.Stop(lock);
  lock.unlock();
  if (reports && stops_publisher) {
    try {
      RunOnLibraryThread(
          [this] { publisher_.status_changed(BlePublisherStatus::kStopped, BleError::kNone); });
    } catch (const std::exception&) {
      // Without memory or threads there is no report, but still an end.
    }
  }
  publisher_.status_changed.Set({});
  watcher_.received.Set({});
  watcher_.stopped.Set({});
}

}  // namespace plenar_ble
