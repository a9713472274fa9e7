#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <stop_token>

#include <plenar_ble_api/ble_api.h>

#include "system/report.h"
#include "system/task_queue.h"

namespace plenar_ble {

/// What `BleCheckState` says besides 0 and 6: what will not pass by itself.
inline constexpr BleError kClassesMissing{201};    ///< Windows has no Bluetooth classes.
inline constexpr BleError kAccessDenied{202};      ///< The user or a policy forbids Bluetooth.
inline constexpr BleError kNoLowEnergy{203};       ///< The adapter cannot do Low Energy.
inline constexpr BleError kNoPeripheralRole{204};  ///< The adapter cannot advertise.

/// The system's Bluetooth adapter. Questions to it are answered on a thread of their own, since the
/// system may take its time. All operations are for any thread but that one, which the owner
/// starts.
class Adapter {
 public:
  struct Answer {
    BleError error = BleError::kAdapterTemporarilyUnavailable;
    bool can_extend = false;  ///< Extended advertising, which carries more than 31 bytes.
  };

  explicit Adapter(Callables& callables) : callables_(callables) {}

  /// What the adapter is like now. When that is not known after `longest`: what it was like when it
  /// was asked before, if that was late as well, or else temporarily unavailable.
  [[nodiscard]] Answer Ask(std::chrono::milliseconds longest);

  /// Whether the adapter can do extended advertising. May take a while.
  [[nodiscard]] bool CanExtend() { return Ask(std::chrono::seconds(2)).can_extend; }

  /// What the answering thread has to do.
  [[nodiscard]] const std::shared_ptr<TaskQueue>& Questions() const { return questions_; }
  /// Ends the answering: the thread ends soon.
  void Close();

 private:
  [[nodiscard]] Answer Find();
  [[nodiscard]] winrt::ComPtr<winrt::IBluetoothAdapter> Default() const;

  Callables& callables_;
  std::stop_source closing_;
  std::shared_ptr<TaskQueue> questions_ = std::make_shared<TaskQueue>();
  std::mutex mutex_;
  std::shared_future<Answer> asked_;  // The last question, answered or not.
  std::shared_future<Answer> late_;   // Which whoever asked last did not wait for.
};

}  // namespace plenar_ble
