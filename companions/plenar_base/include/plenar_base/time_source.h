#pragma once

#include <cstdint>
#include <memory>

#include <plenar_base/plenar_base_export.h>

namespace base::time {

/// Where all time in the process comes from: time stamps, looper delays and timers.
/// [any thread]
class TimeSource {
 public:
  virtual ~TimeSource() = default;

  /// A clock that never goes back, in milliseconds since an arbitrary start.
  [[nodiscard]] virtual std::uint64_t SteadyMilliseconds() const noexcept = 0;

  /// Wall-clock time in whole seconds since 1970-01-01 UTC; may jump.
  [[nodiscard]] virtual std::uint64_t WallSeconds() const noexcept = 0;

  /// The same clock in milliseconds.
  [[nodiscard]] virtual std::uint64_t WallMilliseconds() const noexcept {
    return WallSeconds() * 1000;
  }
};

/// Replaces the time source of the process; null brings the machine's own clocks back. A main
/// looper keeps the one that was in use when it was made. [any thread]
PLENAR_BASE_EXPORT void SetTimeSource(std::shared_ptr<const TimeSource> source);

/// The time source in use, never null. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<const TimeSource> GetTimeSource();

}  // namespace base::time
