#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "air/datagram.h"
#include "air/datagram_socket.h"
#include "radio/callable_slot.h"
#include "radio/radio.h"
#include "virtual/radio_core.h"

namespace plenar_ble {

/// The advertisement publisher. All operations need the core's lock.
///
/// 1. An accepted start puts the data on the air at once, in place of what is there, and reports 1,
///    then 2. A refused one changes nothing.
/// 2. A stop silences the air at once and reports 3, then 4; when nothing runs, just 4.
/// 3. Either withdraws the reports of what was before it and is not made yet.
class Publisher {
 public:
  explicit Publisher(RadioCore& core) : core_(core) {}

  void SetManufacturerData(std::uint16_t company, ByteView data);
  Result Start();
  void Stop();
  /// Off the air, and without data. Whether it has yet to be reported stopped.
  [[nodiscard]] bool TakeDown();
  [[nodiscard]] const std::optional<plenar_ble_control::Advertisement>& Advertising() const {
    return on_air_;
  }

  CallableSlot<BlePublisherStatus, BleError> status_changed;

 private:
  void Silence();
  void StartSending();
  void ReportAfter(std::uint64_t delay, BlePublisherStatus status);

  RadioCore& core_;
  BlePublisherStatus status_ = BlePublisherStatus::kStopped;
  std::optional<plenar_ble_control::Advertisement> data_;  // Of the next start.
  std::optional<plenar_ble_control::Advertisement> on_air_;
  std::unique_ptr<DatagramSocket> sender_;  // While advertising on the loopback air.
};

}  // namespace plenar_ble
