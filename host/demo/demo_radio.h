#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <plenar_base_control/simulated_time.h>
#include <plenar_ble_control/virtual_radio.h>

namespace qvs_host {

/// The virtual radio, in simulated time, for the life of the object. Its air holds only the devices
/// that the demo puts there. The library that `radio` belongs to outlives it.
class DemoRadio final : public base::time::SimulatedTimeParticipant {
 public:
  DemoRadio(plenar_ble_control::VirtualRadio& radio, base::time::SimulatedTime& time);
  ~DemoRadio() override;
  DemoRadio(const DemoRadio&) = delete;
  DemoRadio& operator=(const DemoRadio&) = delete;

  void SetAdapterAvailable(bool available);
  void PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms);

  /// What it sends, in words.
  [[nodiscard]] std::string DescribeSending() const;

 private:
  std::optional<std::uint64_t> NextDeadline() override;
  std::size_t AdvanceTo(std::uint64_t now_ms) override;

  plenar_ble_control::VirtualRadio& radio_;
  base::time::SimulatedTime& time_;
};

}  // namespace qvs_host
