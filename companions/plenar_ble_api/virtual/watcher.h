#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "air/datagram.h"
#include "air/datagram_socket.h"
#include "radio/callable_slot.h"
#include "radio/radio.h"
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

  Result Start();
  void Stop();
  /// As a stop, without a report. Ends the thread that listens and waits for
  /// it, with the lock given up, unless the caller is a thread of the library.
  void TakeDown(RadioCore::Lock& lock);
  [[nodiscard]] bool IsWatching() const { return watched_air_.has_value(); }

  /// The in-process air's devices outlive `TakeDown`.
  void PutOnAir(const BleBroadcastInfo& info, std::uint64_t interval_ms);
  void ClearAir() { devices_.clear(); }

  CallableSlot<const BleBroadcastInfo&> received;
  CallableSlot<BleError> stopped;

 private:
  struct Device {
    BleBroadcastInfo info;
    std::uint64_t interval_ms;
  };
  using DevicePtr = std::shared_ptr<const Device>;

  void StartHearing(const DevicePtr& device);
  void Silence();
  void OnDatagram(ByteView bytes);

  RadioCore& core_;
  std::optional<plenar_ble_control::Air> watched_air_;
  std::thread listener_;  // From the first watch of the loopback air on, and its socket.
  std::shared_ptr<DatagramSocket> receiver_;
  std::map<std::string, DevicePtr> devices_;  // By address.
};

}  // namespace plenar_ble
