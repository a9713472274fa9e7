#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <plenar_ble_api/ble_api.h>

#include "air/advertising_data.h"
#include "air/datagram.h"
#include "air/loopback_listener.h"
#include "radio/callable_slot.h"
#include "virtual/radio_core.h"

namespace plenar_ble {

/// The broadcast watcher. All operations need the core's lock.
///
/// 1. From a start on, the broadcasts of the air that is set then are passed on as they come. A
///    start while watching changes nothing.
/// 2. A stop ends that at once, but for a broadcast being passed on, and reports that the watcher
///    has stopped, also when it did not run.
class Watcher {
 public:
  explicit Watcher(RadioCore& core) : core_(core) {}

  void SetScanMode(int mode);
  [[nodiscard]] int ScanMode() const { return scan_mode_; }

  Result Start();
  void Stop();
  /// As a stop, without a report; the scan mode goes.
  void TakeDown();
  [[nodiscard]] bool IsWatching() const { return watching_; }

  // The in-process air. Its devices outlive `TakeDown`.
  void PutOnAir(BleBroadcastInfo info, std::uint64_t interval_ms);
  void TakeOffAir(const std::string& address);
  void ClearAir();

  CallableSlot<const BleBroadcastInfo&> received;
  CallableSlot<BleError> stopped;

 private:
  struct Device {
    BleBroadcastInfo info;
    std::uint64_t interval_ms;
  };
  using DevicePtr = std::shared_ptr<const Device>;

  [[nodiscard]] bool HearsInProcessAir() const { return watching_ && listener_ == nullptr; }
  bool StartListening();
  void StartHearing(const DevicePtr& device);
  void Silence();
  void OnDatagram(ByteView datagram, const Address& own_address);

  RadioCore& core_;
  int scan_mode_ = 0;
  bool watching_ = false;
  std::shared_ptr<LoopbackListener> listener_;  // While watching the loopback air.
  std::map<std::string, DevicePtr> devices_;    // By address.
};

}  // namespace plenar_ble
