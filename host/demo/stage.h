#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>
#include <plenar_base_control/simulated_time.h>

#include "host/demo/demo_pc.h"
#include "host/demo/demo_radio.h"
#include "host/demo/time_line.h"
#include "host/module.h"

namespace qvs_host {

/// The UUID that everything in the demo is about.
inline constexpr char kDemoUuid[] = "0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";

/// What the script does things with: the host, the radio and the PC, in simulated time. Everything
/// that happens is noted on the time line. [main looper]
class Stage {
 public:
  /// `time` is the process's time source; `pc` may be null.
  Stage(base::time::SimulatedTime& time, TimeLine& line, DemoPc* pc);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  void LetTimePass(std::uint64_t milliseconds);

  // The host.
  void CreateService();
  void DestroyService();
  void Init(int retry_time);
  void UnInit();
  void CheckState(bool need_discoverable);
  void StartAdvertising(const std::string& custom_data);
  void StopAdvertising();
  void StartScanning(unsigned mode, bool continuous);
  void StopScanning();
  void AskForDevices();

  // The radio.
  void SetAdapterAvailable(bool available);
  void ShowSending();
  void PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms);

  // The PC.
  void SetRadioOn(bool on);
  void SetDiscoverable(bool discoverable);

 private:
  void Call(std::uint64_t method, const base::variant::Variant& arguments = {});
  void OnEvent(std::uint64_t event, const base::variant::Variant& value);
  void OnDevices(const std::string& device_json);

  base::time::SimulatedTime& time_;
  TimeLine& line_;
  DemoPc* pc_;
  base::threading::MainLooperScope looper_;
  Library radio_library_;
  Module module_;
  DemoRadio radio_;
  std::optional<Service> service_;
};

}  // namespace qvs_host
