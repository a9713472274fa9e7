#include <plenar_base/time_source.h>

#include <chrono>
#include <mutex>
#include <utility>

#include <plenar_base/time.h>

#include "immortal.h"

namespace base::time {
namespace {

template <class Clock, class Unit>
std::uint64_t SinceStart() noexcept {
  const auto count = std::chrono::floor<Unit>(Clock::now().time_since_epoch()).count();
  return count > 0 ? static_cast<std::uint64_t>(count) : 0;
}

class MachineTime final : public TimeSource {
 public:
  [[nodiscard]] std::uint64_t SteadyMilliseconds() const noexcept override {
    return SinceStart<std::chrono::steady_clock, std::chrono::milliseconds>();
  }
  [[nodiscard]] std::uint64_t WallSeconds() const noexcept override {
    return SinceStart<std::chrono::system_clock, std::chrono::seconds>();
  }
};

struct Current {
  std::mutex mutex;
  const std::shared_ptr<const TimeSource> machine = std::make_shared<const MachineTime>();
  std::shared_ptr<const TimeSource> source = machine;
};

}  // namespace

void SetTimeSource(std::shared_ptr<const TimeSource> source) {
  auto& current = Immortal<Current>();
  if (!source) source = current.machine;
  std::lock_guard lock(current.mutex);
  current.source.swap(source);  // the old one is released without the lock
}

std::shared_ptr<const TimeSource> GetTimeSource() {
  auto& current = Immortal<Current>();
  std::lock_guard lock(current.mutex);
  return current.source;
}

}  // namespace base::time

namespace util::time {

std::uint64_t GetTimestamp() noexcept {
  return base::time::GetTimeSource()->WallSeconds();
}

std::uint64_t GetServerTimestamp(ClockType) noexcept {
  return GetTimestamp();
}

}  // namespace util::time
