#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "radio/library_thread.h"
#include "radio/radio.h"
#include "virtual/radio_core.h"
#include "virtual/virtual_radio.h"

// The control interface, and the 18th export, which gives it.

namespace plenar_ble {

using Lock = RadioCore::Lock;

bool VirtualRadio::SelectRadio(plenar_ble_control::RadioKind kind) {
  return plenar_ble::SelectRadio(kind);
}

plenar_ble_control::RadioKind VirtualRadio::SelectedRadio() const {
  return plenar_ble::SelectedRadio();
}

void VirtualRadio::Reset() {
  Clear();
  UnInit();  // Lets the library go.
}

void VirtualRadio::SetCallObserver(CallObserver observer) {
  script_.observer.Replace(std::move(observer));
}

void VirtualRadio::SetResult(std::string_view function, std::int32_t result) {
  script_.SetResult(function, result);
}

void VirtualRadio::ThrowFrom(std::string_view function, int times) {
  script_.ThrowFrom(function, times);
}

void VirtualRadio::SetAutomaticReports(bool automatic) {
  const Lock lock(core_.mutex);
  core_.automatic_reports = automatic;
}

void VirtualRadio::SetReportDelays(const plenar_ble_control::ReportDelays& delays) {
  const Lock lock(core_.mutex);
  core_.delays = delays;
}

void VirtualRadio::ReportPublisherStatus(BlePublisherStatus status, BleError error) {
  RunOnLibraryThread([&] { publisher_.status_changed(status, error); });
}

void VirtualRadio::ReportWatcherStopped(BleError error) {
  RunOnLibraryThread([&] { watcher_.stopped(error); });
}

void VirtualRadio::ReportBroadcast(const BleBroadcastInfo& info) {
  RunOnLibraryThread([&] { watcher_.received(info); });
}

void VirtualRadio::ReportLog(const char* file, int line, const char* function, int level,
                             const char* message) {
  RunOnLibraryThread([&] { core_.log(file, line, function, level, message); });
}

void VirtualRadio::SetAir(plenar_ble_control::Air air) {
  const Lock lock(core_.mutex);
  core_.air = air;
}

void VirtualRadio::PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) {
  const Lock lock(core_.mutex);
  watcher_.PutOnAir(device, interval_ms);
}

bool VirtualRadio::IsInitialised() const {
  const Lock lock(core_.mutex);
  return core_.initialised;
}

bool VirtualRadio::IsWatching() const {
  const Lock lock(core_.mutex);
  return watcher_.IsWatching();
}

int VirtualRadio::ScanMode() const {
  const Lock lock(core_.mutex);
  return watcher_.ScanMode();
}

std::optional<plenar_ble_control::Advertisement> VirtualRadio::Advertising() const {
  const Lock lock(core_.mutex);
  return publisher_.Advertising();
}

void VirtualRadio::UseManualTime(std::uint64_t now_ms) {
  const Lock lock(core_.mutex);
  core_.scheduler.UseManualTime(now_ms);
}

std::optional<std::uint64_t> VirtualRadio::NextDeadline() const {
  const Lock lock(core_.mutex);
  return core_.scheduler.NextDeadline();
}

std::size_t VirtualRadio::AdvanceTo(std::uint64_t now_ms) {
  Lock lock(core_.mutex);
  return core_.scheduler.AdvanceTo(now_ms, lock);
}

}  // namespace plenar_ble

extern "C" plenar_ble_control::VirtualRadio* PlenarBleControl() {
  return &plenar_ble::VirtualRadio::Instance();
}
