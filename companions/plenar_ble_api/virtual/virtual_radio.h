#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "radio/callable_slot.h"
#include "radio/library_thread.h"
#include "radio/radio.h"
#include "virtual/publisher.h"
#include "virtual/radio_core.h"
#include "virtual/watcher.h"

namespace plenar_ble {

/// The radio that is heard on this machine only, and its control interface. It has threads only
/// while it is initialised and has something for them to do.
class VirtualRadio final : public Radio, public plenar_ble_control::VirtualRadio {
 public:
  static VirtualRadio& Instance();

  VirtualRadio(const VirtualRadio&) = delete;
  VirtualRadio& operator=(const VirtualRadio&) = delete;

  // What the exported functions do. (virtual_radio.cpp)
  int Init(std::uintptr_t reserved) override;
  void UnInit() override;
  BleError CheckState() override;
  void SetLog(BleLogFunc log) override;
  void SetScanMode(int mode) override;
  void SetReceived(BleReceivedBroadcastCB callback) override;
  void SetStopped(BleStoppedWatchBroadcastCB callback) override;
  int StartWatch() override;
  void StopWatch() override;
  int SetManufacturerData(std::uint16_t company, std::span<const std::uint8_t> data) override;
  void SetStatusChanged(BleStatusChangedCB callback) override;
  int StartBroadcast() override;
  void StopBroadcast() override;
  void Clear() override;

  // What tests and tools set and ask. (control.cpp)
  bool SelectRadio(plenar_ble_control::RadioKind kind) override;
  plenar_ble_control::RadioKind SelectedRadio() const override;
  void Reset() override;
  void SetCallObserver(CallObserver observer) override;
  void SetResult(std::string_view function, std::int32_t result) override;
  void ThrowFrom(std::string_view function) override;
  void SetReportDelays(std::optional<plenar_ble_control::ReportDelays> delays) override;
  void ReportPublisherStatus(BlePublisherStatus status, BleError error) override;
  void ReportWatcherStopped(BleError error) override;
  void ReportBroadcast(const BleBroadcastInfo& info) override;
  void ReportLog(const char* file, int line, const char* function, int level,
                 const char* message) override;
  void SetAir(plenar_ble_control::Air air) override;
  void PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) override;
  std::optional<plenar_ble_control::Advertisement> Advertising() const override;
  void UseManualTime(std::uint64_t now_ms) override;
  std::optional<std::uint64_t> NextDeadline() const override;
  std::size_t AdvanceTo(std::uint64_t now_ms) override;

 private:
  /// What a function was told to do in place of its work.
  struct Step {
    std::int32_t result = 0;
    bool throws = false;
  };

  VirtualRadio() = default;

  /// Begins a call: tells the observer, throws `ScriptedFailure` if so told, and returns what the
  /// function is to return in place of its work if that is not 0.
  std::int32_t Begin(std::string_view function, const std::string& arguments = {});
  void TakeDown(bool reports);

  mutable RadioCore core_;
  Publisher publisher_{core_};
  Watcher watcher_{core_};
  CallableSlot<std::string_view, const std::string&> call_observer_;
  std::map<std::string_view, Step> steps_;  // Of the functions that were told something.
  std::recursive_mutex lifecycle_mutex_;    // Reports of the taking down may come back to it.
  LibraryReference library_;                // While a thread may be alive.
};

}  // namespace plenar_ble
