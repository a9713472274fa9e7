#include <plenar_base/time_source.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>

#include <plenar_base/time.h>

#include "immortal.h"

namespace base::time {
namespace {

class MachineTime final : public TimeSource {
 public:
  [[nodiscard]] std::uint64_t SteadyMilliseconds() const noexcept override {
    using Milliseconds = std::chrono::duration<std::uint64_t, std::milli>;
    const auto since_start = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Milliseconds>(since_start).count();
  }
  [[nodiscard]] std::uint64_t WallSeconds() const noexcept override {
    // Many times cheaper than the chrono clock, whose fractions nobody wants.
    return static_cast<std::uint64_t>(std::max<std::time_t>(std::time(nullptr), 0));
  }
  [[nodiscard]] std::uint64_t WallMilliseconds() const noexcept override {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    const auto count = std::chrono::floor<std::chrono::milliseconds>(since_epoch).count();
    return static_cast<std::uint64_t>(std::max<decltype(count)>(count, 0));
  }
};

struct Current {
  const MachineTime machine{};
  std::atomic<bool> is_replaced = false;  ///< Otherwise nobody needs the lock.
  std::mutex mutex;
  std::shared_ptr<const TimeSource> replacement;
};

}  // namespace

void SetTimeSource(std::shared_ptr<const TimeSource> source) {
  auto& current = Immortal<Current>();
  std::lock_guard lock(current.mutex);
  current.replacement.swap(source);
  current.is_replaced = current.replacement != nullptr;
}

std::shared_ptr<const TimeSource> GetTimeSource() {
  auto& current = Immortal<Current>();
  if (current.is_replaced) {
    std::lock_guard lock(current.mutex);
    if (current.replacement) return current.replacement;
  }
  return {std::shared_ptr<void>(), &current.machine};  // lives for ever
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
