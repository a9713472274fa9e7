#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "exported_functions.h"
#include "radio/library_thread.h"
#include "radio/radio.h"
#include "virtual/radio_core.h"
#include "virtual/virtual_radio.h"

// The control interface, and the 18th export, which gives it.

namespace plenar_ble {

namespace {

using plenar_ble_control::RadioKind;
using Lock = RadioCore::Lock;

/// The system's radio, where there is one, unless somebody chose.
std::atomic<Radio*>& Active() {
  static std::atomic<Radio*> active =
      SystemRadio() != nullptr ? SystemRadio() : &VirtualRadio::Instance();
  return active;
}

/// The name itself, which lives as long as the library.
std::string_view KnownName(std::string_view name) {
  const auto* const found =
      std::find(std::begin(kExportedFunctions), std::end(kExportedFunctions), name);
  if (found != std::end(kExportedFunctions)) return *found;
  throw std::invalid_argument("no function of the BLE API library: " + std::string(name));
}

}  // namespace

Radio& ActiveRadio() {
  return *Active();
}

bool VirtualRadio::SelectRadio(RadioKind kind) {
  Radio* const wanted = kind == RadioKind::kSystem ? SystemRadio() : this;
  if (wanted == nullptr) return false;
  Radio* const former = Active().exchange(wanted);
  if (former != wanted) {
    former->Clear();
    former->UnInit();  // Lets the library go.
  }
  return true;
}

RadioKind VirtualRadio::SelectedRadio() const {
  return Active() == this ? RadioKind::kVirtual : RadioKind::kSystem;
}

void VirtualRadio::Reset() {
  Clear();
  UnInit();  // Lets the library go.
}

void VirtualRadio::SetCallObserver(CallObserver observer) {
  call_observer_.Set(std::move(observer));
}

void VirtualRadio::SetResult(std::string_view function, std::int32_t result) {
  const Lock lock(core_.mutex);
  steps_[KnownName(function)].result = result;
}

void VirtualRadio::ThrowFrom(std::string_view function) {
  const Lock lock(core_.mutex);
  steps_[KnownName(function)].throws = true;
}

std::int32_t VirtualRadio::Begin(std::string_view function, const std::string& arguments) {
  call_observer_(function, arguments);
  const Lock lock(core_.mutex);
  const auto step = steps_.find(function);
  if (step == steps_.end()) return 0;
  if (!std::exchange(step->second.throws, false)) return step->second.result;
  throw plenar_ble_control::ScriptedFailure(std::string(function) + " was told to fail");
}

void VirtualRadio::SetReportDelays(std::optional<plenar_ble_control::ReportDelays> delays) {
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

std::optional<plenar_ble_control::Advertisement> VirtualRadio::Advertising() const {
  const Lock lock(core_.mutex);
  return publisher_.Advertising();
}

void VirtualRadio::UseManualTime(std::uint64_t now_ms) {
  const Lock lock(core_.mutex);
  core_.scheduler.SetClock(now_ms);
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
