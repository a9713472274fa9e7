#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <string>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "radio/callable_slot.h"
#include "radio/scheduler.h"

namespace plenar_ble {

/// What the library's functions return. The module tells 0 from the rest only.
enum Result : int {
  kAccepted = 0,
  kNotInitialised = 1,
  kInvalidArgument = 2,
  kBusy = 3,        ///< The publisher has not stopped, or the library is being taken down.
  kNoData = 4,      ///< There is no manufacturer data to advertise.
  kAirNotOpen = 5,  ///< The system refused the socket.
  kFailure = 6,     ///< Out of memory or threads.
};

/// `BleCheckState` before `BleInit`.
inline constexpr BleError kCheckedBeforeInit{1};

enum class LogLevel : int { kError = 3, kInformation = 6 };

/// Whether, when and how starts and stops are reported.
struct ReportSettings {
  bool automatic = true;
  plenar_ble_control::ReportDelays delays;
  std::array<BleError, 5> status_errors{};  ///< By publisher status.

  [[nodiscard]] BleError& ErrorOf(BlePublisherStatus status) {
    return status_errors.at(static_cast<std::size_t>(status));
  }
};

/// What the publisher and the watcher share. `mutex` guards everything of the radio's but the
/// callables, and is never held while one of these runs.
struct RadioCore {
  using Lock = Scheduler::Lock;

  std::mutex mutex;
  Scheduler scheduler{mutex};
  bool initialised = false;
  plenar_ble_control::Air air = plenar_ble_control::Air::kLoopback;
  ReportSettings reports;
  CallableSlot<const char*, int, const char*, int, const char*> log;

  /// Hands a line to the log callable on the scheduler's thread, if there is one. With the lock.
  void Log(LogLevel level, std::string message, const char* file = __builtin_FILE(),
           int line = __builtin_LINE(), const char* function = __builtin_FUNCTION());
};

}  // namespace plenar_ble
