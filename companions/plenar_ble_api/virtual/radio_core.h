#pragma once

#include <mutex>
#include <optional>
#include <string_view>

#include <plenar_ble_control/virtual_radio.h>

#include "radio/callable_slot.h"
#include "radio/radio.h"
#include "virtual/scheduler.h"

namespace plenar_ble {

/// What the publisher and the watcher share. `mutex` guards everything of the radio's but the
/// callables, and is never held while one of these runs.
struct RadioCore {
  using Lock = Scheduler::Lock;

  std::mutex mutex;
  Scheduler scheduler{mutex};
  bool initialised = false;
  plenar_ble_control::Air air = plenar_ble_control::Air::kLoopback;
  /// None while no start or stop is reported by itself.
  std::optional<plenar_ble_control::ReportDelays> delays = plenar_ble_control::ReportDelays{};
  CallableSlot<const char*, int, const char*, int, const char*> log;

  /// Hands a line to the log callable on the scheduler's thread, if there is one. With the lock.
  void Log(LogLevel level, std::string_view message, const char* file = __builtin_FILE(),
           int line = __builtin_LINE(), const char* function = __builtin_FUNCTION());
};

}  // namespace plenar_ble
