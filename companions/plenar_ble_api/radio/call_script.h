#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "radio/callable_slot.h"

namespace plenar_ble {

/// The functions of the contract, in its order.
enum class Function : std::size_t {
  kInit,
  kUnInit,
  kSetLogFunc,
  kCheckState,
  kClientSetScanMode,
  kClientSetServiceUuidFilter,
  kClientSetManufacturerDataFilter,
  kClientSetSignalStrengthFilter,
  kClientSetReceivedBroadcastCB,
  kClientSetStoppedWatchBroadcastCB,
  kClientStartWatchBroadcast,
  kClientStopWatchBroadcast,
  kServerAddManufacturerData,
  kServerAddDataSection,
  kServerSetStatusChangedCB,
  kServerStartBroadcast,
  kServerStopBroadcast,
  kCount,
};

/// What the functions are told to do in place of their work, and who is told of their calls.
/// [any thread]
class CallScript {
 public:
  CallableSlot<std::string_view, const std::string&> observer;

  /// Throws `std::invalid_argument` unless `name` is that of a function with a result.
  void SetResult(std::string_view name, std::int32_t result);
  /// Throws `std::invalid_argument` unless `name` is that of a function.
  void ThrowFrom(std::string_view name, int times);
  void Reset();

  /// Begins a call: tells the observer, throws `std::runtime_error` if so scripted, and returns
  /// the result to return. `describe` gives the arguments in words.
  template <typename Describe>
  std::int32_t Begin(Function function, const Describe& describe) {
    if (observer.IsSet()) observer(NameOf(function), describe());
    return Take(function);
  }

 private:
  struct Step {
    std::int32_t result = 0;
    int throws = 0;
  };

  static std::string_view NameOf(Function function);
  std::int32_t Take(Function function);

  std::mutex mutex_;
  std::array<Step, static_cast<std::size_t>(Function::kCount)> steps_{};
};

}  // namespace plenar_ble
