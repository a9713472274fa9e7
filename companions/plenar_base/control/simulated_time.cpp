#include <plenar_base_control/simulated_time.h>

#include <plenar_base/main_looper.h>

#include <algorithm>
#include <limits>

namespace base::time {
namespace {

using Deadline = std::optional<std::uint64_t>;

Deadline Earlier(const Deadline& a, const Deadline& b) {
  if (!a || !b) return a ? a : b;
  return std::min(*a, *b);
}

}  // namespace

SimulatedTime::SimulatedTime(std::uint64_t wall_seconds)
    : wall_offset_seconds_(static_cast<std::int64_t>(wall_seconds)) {}

std::uint64_t SimulatedTime::SteadyMilliseconds() const noexcept {
  return steady_ms_;
}

std::uint64_t SimulatedTime::WallSeconds() const noexcept {
  return static_cast<std::uint64_t>(wall_offset_seconds_) + steady_ms_ / 1000;
}

std::uint64_t SimulatedTime::WallMilliseconds() const noexcept {
  return static_cast<std::uint64_t>(wall_offset_seconds_) * 1000 + steady_ms_;
}

void SimulatedTime::JumpWall(std::int64_t seconds) noexcept {
  wall_offset_seconds_ += seconds;
}

void SimulatedTime::Settle(threading::MainLooperScope& looper) {
  std::size_t ran = 0;
  do {
    ran = looper.RunUntilIdle();
    if (participant_ != nullptr) ran += participant_->AdvanceTo(steady_ms_);
  } while (ran > 0);
}

void SimulatedTime::RunFor(threading::MainLooperScope& looper, std::uint64_t milliseconds) {
  const std::uint64_t now = steady_ms_;
  const std::uint64_t end =
      now + std::min(milliseconds, std::numeric_limits<std::uint64_t>::max() - now);
  const auto next_deadline = [&] {
    return Earlier(looper.NextDeadline(),
                   participant_ != nullptr ? participant_->NextDeadline() : std::nullopt);
  };

  Settle(looper);
  // Nothing is left that is due now, unless this was called inside a task: then tasks have to wait
  // until time has passed, as with a busy looper.
  for (Deadline next = next_deadline(); next && *next > steady_ms_ && *next <= end;
       next = next_deadline()) {
    steady_ms_ = *next;
    Settle(looper);
  }
  steady_ms_ = std::max<std::uint64_t>(end, steady_ms_);
}

}  // namespace base::time
