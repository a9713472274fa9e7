#include <algorithm>
#include <cassert>
#include <limits>
#include <optional>
#include <utility>

#include <plenar_base/timer.h>

#include "threading/looper_core.h"

namespace base::threading {
namespace {

/// The first time after `now` in the rhythm of `due` and `interval`; stops at the clock's end.
std::uint64_t NextInPhase(std::uint64_t due, std::uint64_t interval, std::uint64_t now) {
  const std::uint64_t missed = now > due ? (now - due) / interval : 0;
  const std::uint64_t last = due + missed * interval;
  constexpr auto kEnd = std::numeric_limits<std::uint64_t>::max();
  return interval < kEnd - last ? last + interval : kEnd;
}

class LooperTimer final : public Timer {
 public:
  LooperTimer(std::function<void()> task, Location location)
      : task_(std::make_shared<const std::function<void()>>(std::move(task))),
        location_(location) {}
  ~LooperTimer() override { LooperTimer::Stop(); }
  LooperTimer(const LooperTimer&) = delete;
  LooperTimer& operator=(const LooperTimer&) = delete;

  void Start(std::uint64_t interval_ms, bool repeat) override {
    Stop();
    interval_ms_ = std::max<std::uint64_t>(interval_ms, 1);
    repeat_ = repeat;
    looper_ = CurrentLooperCore();
    if (!looper_) return;
    assert(looper_->IsCurrentThread());
    ScheduleTick(looper_->NowPlus(interval_ms_));
  }

  [[nodiscard]] std::uint64_t Interval() const noexcept override { return interval_ms_; }

  void Stop() override {
    if (next_) looper_->Cancel(*next_);
    next_.reset();
    looper_.reset();
  }

  [[nodiscard]] bool IsRunning() const noexcept override {
    return next_ && looper_->IsScheduled(*next_);
  }

 private:
  void ScheduleTick(std::uint64_t due_ms) {
    // The tick is cancelled before this object goes.
    next_ = looper_->Schedule(
        due_ms, [this] { Tick(); }, location_);
  }

  void Tick() {
    const auto task = task_;  // which may destroy this object
    const std::uint64_t due_ms = next_->due_ms;
    next_.reset();
    if (repeat_) ScheduleTick(NextInPhase(due_ms, interval_ms_, looper_->Now()));
    if (*task) (*task)();
  }

  const std::shared_ptr<const std::function<void()>> task_;
  const Location location_;
  std::uint64_t interval_ms_ = 0;
  bool repeat_ = false;
  std::shared_ptr<LooperCore> looper_;    ///< Null while stopped.
  std::optional<LooperCore::Slot> next_;  ///< Of the looper above.
};

}  // namespace

std::unique_ptr<Timer> CreateTimer(std::function<void()> task, Location location) {
  return std::make_unique<LooperTimer>(std::move(task), location);
}

}  // namespace base::threading
