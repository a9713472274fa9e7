#include <algorithm>
#include <cassert>
#include <limits>
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

class LooperTimer final : public Timer, private Scheduled {
 public:
  LooperTimer(std::function<void()> task, Location location)
      : task_(std::move(task)), location_(location) {}
  ~LooperTimer() override {
    LooperTimer::Stop();
    if (destroyed_ != nullptr) *destroyed_ = true;
  }
  LooperTimer(const LooperTimer&) = delete;
  LooperTimer& operator=(const LooperTimer&) = delete;

  void Start(std::uint64_t interval_ms, bool repeat) override {
    Stop();
    interval_ms_ = std::max<std::uint64_t>(interval_ms, 1);
    repeat_ = repeat;
    if (looper_.IsOpen()) looper_.Start(*this, looper_.NowPlus(interval_ms_));
  }

  [[nodiscard]] std::uint64_t Interval() const noexcept override { return interval_ms_; }

  void Stop() override {
    assert(!looper_.IsOpen() || looper_.IsCurrentThread());
    if (IsScheduled()) looper_.Stop(*this);
  }

  [[nodiscard]] bool IsRunning() const noexcept override { return IsScheduled(); }

 private:
  void Run(std::uint64_t now_ms) override {
    if (repeat_) looper_.Start(*this, NextInPhase(place.due_ms, interval_ms_, now_ms));
    if (!task_) return;
    // The task may destroy this object, and is to be whole until it has ended.
    bool destroyed = false;
    destroyed_ = &destroyed;
    auto task = std::move(task_);
    RunGuarded(task, location_);
    if (destroyed) return;
    destroyed_ = nullptr;
    task_ = std::move(task);
  }

  LooperCore& looper_ = LooperCore::Get();
  std::function<void()> task_;
  const Location location_;
  std::uint64_t interval_ms_ = 0;
  bool repeat_ = false;
  bool* destroyed_ = nullptr;  ///< While the task runs: set when this object goes.
};

}  // namespace

std::unique_ptr<Timer> CreateTimer(std::function<void()> task, Location location) {
  return std::make_unique<LooperTimer>(std::move(task), location);
}

}  // namespace base::threading
