#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <plenar_base/location.h>
#include <plenar_base/plenar_base_export.h>

namespace base::threading {

/// Runs a task on the main looper thread after an interval, once or repeatedly. Owned by its
/// creator; all operations are for the main looper thread.
///
/// Destroying a timer stops it, and no tick comes later; a timer may be stopped, restarted or
/// destroyed from inside its own task. After a long sleep or a busy looper one tick is due, never a
/// burst. The order of the virtual operations is part of the contract.
class Timer {
 public:
  virtual ~Timer() = default;

  /// Starts the timer, first tick after `interval_ms` milliseconds (0 counts as 1). A running
  /// timer is restarted with the new settings.
  virtual void Start(std::uint64_t interval_ms, bool repeat) = 0;

  /// The interval of the last `Start`, in milliseconds; 0 before the first.
  [[nodiscard]] virtual std::uint64_t Interval() const noexcept = 0;

  /// Stops the timer; nothing happens if it is not running.
  virtual void Stop() = 0;

  /// Whether a tick is still to come. False inside the tick of a one-shot timer.
  [[nodiscard]] virtual bool IsRunning() const noexcept = 0;
};

/// Makes a stopped timer. Without a main looper the timer can be started but never ticks.
[[nodiscard]] PLENAR_BASE_EXPORT std::unique_ptr<Timer> CreateTimer(std::function<void()> task,
                                                                    Location location);

}  // namespace base::threading
