#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "air/advertising_data.h"
#include "air/datagram_socket.h"
#include "radio/callable_slot.h"
#include "virtual/radio_core.h"

namespace plenar_ble {

/// The advertisement publisher. All operations need the core's lock.
///
/// 1. An accepted start puts the advertisement on the air at once and reports 1, then 2.
/// 2. A start is refused until the publisher has reported that it stopped.
/// 3. A stop silences the air at once, withdraws the start's reports not made yet, and reports 3,
///    then 4. When nothing runs it reports just 4: who asks for a stop always learns of it.
class Publisher {
 public:
  explicit Publisher(RadioCore& core) : core_(core) {}

  /// Of the following starts; the former data goes.
  Result SetManufacturerData(std::uint16_t company, ByteView data);
  Result Start();
  void Stop();
  /// Off the air without a report, and without data.
  void TakeDown();
  [[nodiscard]] const std::optional<plenar_ble_control::Advertisement>& Advertising() const {
    return on_air_;
  }

  CallableSlot<BlePublisherStatus, BleError> status_changed;

 private:
  void Silence();
  [[nodiscard]] Bytes AdvertisingData() const;
  bool StartSending(ByteView advertising_data);
  void ReportAfter(std::uint64_t delay, BlePublisherStatus status);

  RadioCore& core_;
  BlePublisherStatus status_ = BlePublisherStatus::kStopped;
  std::optional<plenar_ble_control::Advertisement> manufacturer_data_;
  std::optional<plenar_ble_control::Advertisement> on_air_;
  std::unique_ptr<DatagramSender> sender_;  // While advertising on the loopback air.
};

}  // namespace plenar_ble
