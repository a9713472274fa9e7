#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <plenar_base/main_looper.h>
#include <plenar_base/time_source.h>
#include <plenar_base_control/simulated_time.h>
#include <plenar_ble_control/virtual_radio.h>
#include <qvs_windows_ble/client.h>

#include "host/play/time_line.h"

namespace qvs_host {

/// Simulated time as the process's own, for the life of the object.
class ScopedSimulatedTime {
 public:
  ScopedSimulatedTime() { base::time::SetTimeSource(time_); }
  ~ScopedSimulatedTime() { base::time::SetTimeSource(nullptr); }
  ScopedSimulatedTime(const ScopedSimulatedTime&) = delete;
  ScopedSimulatedTime& operator=(const ScopedSimulatedTime&) = delete;

  base::time::SimulatedTime& operator*() { return *time_; }

 private:
  std::shared_ptr<base::time::SimulatedTime> time_ = std::make_shared<base::time::SimulatedTime>();
};

/// Where a scenario is played: a host with the module and the virtual radio in simulated time. What
/// the host is answered and hears goes on the time line. [main looper]
class Stage final : private base::time::SimulatedTimeParticipant {
 public:
  /// Throws `ble::Error` when the virtual radio cannot be used.
  Stage(base::time::SimulatedTime& time, TimeLine& line);
  ~Stage() override;
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  void LetTimePassUntil(std::uint64_t time_ms);

  void CreateHost();
  void DestroyHost() { client_.reset(); }
  /// Throws `HostError` while there is no host.
  [[nodiscard]] ble::Client& Host();
  void NoteResult(ble::Result result);
  void NoteState(std::string_view kind, ble::Result state);

  [[nodiscard]] plenar_ble_control::VirtualRadio& Radio() { return radio_; }
  /// Notes what the radio sends.
  void ShowSending();

 private:
  void NoteDevices(const std::vector<ble::Device>& devices);
  std::optional<std::uint64_t> NextDeadline() override { return radio_.NextDeadline(); }
  std::size_t AdvanceTo(std::uint64_t now_ms) override { return radio_.AdvanceTo(now_ms); }

  base::time::SimulatedTime& time_;
  TimeLine& line_;
  base::threading::MainLooperScope looper_;
  ble::LoadedLibrary radio_library_{ble::kBleApiFile};
  plenar_ble_control::VirtualRadio& radio_;
  std::optional<ble::Client> client_;
};

}  // namespace qvs_host
