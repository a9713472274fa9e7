#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <plenar_base/main_looper.h>
#include <plenar_base/time_source.h>

namespace base::time {

/// Something else that has deadlines of its own in simulated time, with threads of its own.
class SimulatedTimeParticipant {
 public:
  virtual ~SimulatedTimeParticipant() = default;

  /// When it next has something to do; none while nothing is scheduled.
  [[nodiscard]] virtual std::optional<std::uint64_t> NextDeadline() = 0;

  /// Does everything due at or before `now_ms`, on its own threads, and returns when these are
  /// quiet: whatever they had to deliver has been delivered. Returns how much that was.
  virtual std::size_t AdvanceTo(std::uint64_t now_ms) = 0;
};

/// A time source that stands still until it is told to go on, and then steps from deadline to
/// deadline: days pass in milliseconds, and every run is the same. Clocks may be read on any
/// thread; everything else belongs to the main looper thread.
///
/// Use: make one, `SetTimeSource` it, make a `MainLooperScope`, then `RunFor`.
class SimulatedTime final : public TimeSource {
 public:
  explicit SimulatedTime(std::uint64_t wall_seconds = 1'700'000'000);

  [[nodiscard]] std::uint64_t SteadyMilliseconds() const noexcept override;
  [[nodiscard]] std::uint64_t WallSeconds() const noexcept override;
  [[nodiscard]] std::uint64_t WallMilliseconds() const noexcept override;

  /// Sets the wall clock forward or back; the steady clock is not touched. Any thread.
  void JumpWall(std::int64_t seconds) noexcept;

  /// The one that takes part besides the looper, or null. Not owned.
  void SetParticipant(SimulatedTimeParticipant* participant) { participant_ = participant; }

  /// Runs the looper and the participant until nothing is left to do at the present moment.
  void Settle(threading::MainLooperScope& looper);

  /// Lets `milliseconds` pass: settles, steps to the next deadline, and so on. What is due exactly
  /// at the end runs.
  void RunFor(threading::MainLooperScope& looper, std::uint64_t milliseconds);

 private:
  std::atomic<std::uint64_t> steady_ms_{0};
  std::atomic<std::int64_t> wall_offset_seconds_;
  SimulatedTimeParticipant* participant_ = nullptr;
};

}  // namespace base::time
