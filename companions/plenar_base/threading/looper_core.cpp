#include "threading/looper_core.h"

#include <cassert>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <plenar_base/location.h>
#include <plenar_base/log.h>
#include <plenar_base/time_source.h>

#include "immortal.h"

namespace base::threading {
namespace {

void LogThrown(const Location& location) noexcept try {
  constexpr int kError = 3;
  const std::string_view path = location.File();
  log::PrintLog({}, std::string(path.substr(path.find_last_of("/\\") + 1)), location.Line(),
                "Looper", kError, "a task ended with an exception");
} catch (...) {  // no memory for the line
}

}  // namespace

void RunGuarded(const std::function<void()>& task, const Location& location) noexcept {
  try {
    task();
  } catch (...) {
    LogThrown(location);
  }
}

/// A task with a delay. Owned by the queue first, then by the schedule.
class LooperCore::DelayedTask final : public Scheduled {
 public:
  DelayedTask(std::function<void()> task, Location location)
      : task_(std::move(task)), location_(location) {}

  void Run(std::uint64_t) override {
    const std::unique_ptr<DelayedTask> self(this);
    RunGuarded(task_, location_);
  }
  void Drop() override { delete this; }

 private:
  const std::function<void()> task_;
  const Location location_;
};

LooperCore& LooperCore::Get() noexcept {
  return Immortal<LooperCore>();
}

void LooperCore::Open(std::function<void()> wake) {
  std::lock_guard lock(mutex_);
  if (IsOpen()) throw std::logic_error("there is a main looper already");
  waiter_ = MakeLoopWaiter(*this);
  wake_ = std::move(wake);
  time_ = time::GetTimeSource();
  now_ms_ = 0;
  quit_ = false;
  idle_ = true;
  thread_ = std::this_thread::get_id();
}

void LooperCore::Close() {
  assert(IsCurrentThread() && !in_task_);
  {
    std::lock_guard lock(mutex_);
    thread_ = std::thread::id();
  }
  while (waking_ != 0) std::this_thread::yield();
  waiter_.reset();
  wake_ = nullptr;
  time_.reset();
  // What the tasks hold may post, which does nothing now, or stop a timer.
  batch_.clear();
  next_ = 0;
  count_before_ = posted_count_;
  posted_.clear();
  posted_delayed_.clear();
  while (Scheduled* const first = schedule_.First()) {
    schedule_.Remove(*first);
    first->Drop();
  }
}

bool LooperCore::IsCurrentThread() const noexcept {
  return thread_.load() == std::this_thread::get_id();
}

void LooperCore::PostTask(std::function<void()> task, std::uint64_t delay_ms, Location location) {
  if (!task) return;
  if (delay_ms == 0) {
    Post([&] {
      posted_.emplace_back(std::move(task), location);
      posted_count_.store(posted_count_.load(std::memory_order_relaxed) + 1,
                          std::memory_order_relaxed);
    });
  } else {
    auto delayed = std::make_unique<DelayedTask>(std::move(task), location);
    Post([&] {
      SetPlace(*delayed, NowPlus(delay_ms));
      posted_delayed_.push_back(std::move(delayed));
    });
  }
}

void LooperCore::Run() {
  assert(IsCurrentThread());
  if (in_run_ || in_task_) throw std::logic_error("the main looper is running already");
  in_run_ = true;
  while (!quit_) {
    const std::size_t ran = RunBatch();
    const LoopWaiter::Message message = waiter_->DispatchOne();
    if (message == LoopWaiter::Message::kQuit) break;
    if (ran > 0 || message == LoopWaiter::Message::kDispatched || quit_) continue;
    const Scheduled* const first = schedule_.First();
    waiter_->Wait(first != nullptr ? first->place.due_ms - now_ms_ : LoopWaiter::kLongestWait);
  }
  quit_ = false;
  in_run_ = false;
  waiter_->HandOver();
}

void LooperCore::Quit() {
  quit_ = true;
  Post([] {});
}

std::size_t LooperCore::RunUntilIdle() {
  assert(IsCurrentThread());
  if (in_task_) return 0;
  std::size_t total = 0;
  for (;;) {
    const std::size_t ran = RunBatch();
    total += ran;
    if (waiter_->DispatchOne() != LoopWaiter::Message::kDispatched && ran == 0) break;
  }
  waiter_->HandOver();
  return total;
}

void LooperCore::RunFromMessage() {
  if (in_task_) return;
  RunBatch();
  waiter_->HandOver();
}

std::optional<std::uint64_t> LooperCore::NextDeadline() {
  TakeOver();
  if (!idle_) return now_ms_;
  const Scheduled* const first = schedule_.First();
  return first != nullptr ? std::optional(first->place.due_ms) : std::nullopt;
}

void LooperCore::Start(Scheduled& timer, std::uint64_t due_ms) noexcept {
  SetPlace(timer, due_ms);
  schedule_.Add(timer);
  // Outside of a task the thread may be about to wait for what was first until now.
  if (schedule_.First() == &timer && !in_task_ && ClaimWake()) Wake();
}

std::uint64_t LooperCore::NowPlus(std::uint64_t delay_ms) const noexcept {
  constexpr auto kEnd = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t now = Now();
  return delay_ms < kEnd - now ? now + delay_ms : kEnd;
}

void LooperCore::SetPlace(Scheduled& scheduled, std::uint64_t due_ms) noexcept {
  scheduled.place = {due_ms, last_number_.fetch_add(1, std::memory_order_relaxed)};
  scheduled.tasks_before = posted_count_.load(std::memory_order_relaxed);
}

void LooperCore::TakeOver() {
  const bool all_ran = next_ == batch_.size() && !in_task_;
  if (all_ran) {
    batch_.clear();
    count_before_ += std::exchange(next_, 0);
  }
  {
    std::lock_guard lock(mutex_);
    if (all_ran) batch_.swap(posted_);
    for (auto& delayed : posted_delayed_) schedule_.Add(*delayed.release());
    posted_delayed_.clear();
    idle_ = next_ == batch_.size() && posted_.empty();
  }
  // After the batch, so that nothing in it was posted later than this.
  if (schedule_.First() != nullptr) now_ms_ = Now();
}

std::size_t LooperCore::RunBatch() {
  TakeOver();
  in_task_ = true;
  if (FirstDue() != nullptr) idle_ = false;
  std::size_t ran = 0;
  for (; !(in_run_ && quit_); ++ran) {
    if (Scheduled* const due = FirstDue()) {
      if (ran > 0) now_ms_ = Now();  // what has run may have taken its time
      schedule_.Remove(*due);
      due->Run(now_ms_);
    } else if (next_ < batch_.size()) {
      auto& [task, location] = batch_[next_++];
      RunGuarded(task, location);
      task = nullptr;
    } else {
      break;
    }
  }
  in_task_ = false;
  return ran;
}

Scheduled* LooperCore::FirstDue() const noexcept {
  Scheduled* const first = schedule_.First();
  if (first == nullptr || first->place.due_ms > now_ms_) return nullptr;
  return count_before_ + next_ < first->tasks_before ? nullptr : first;
}

template <class Push>
void LooperCore::Post(const Push& push) {
  bool wake = false;
  {
    std::lock_guard lock(mutex_);
    if (!IsOpen()) return;
    push();
    wake = ClaimWake();
  }
  if (wake) Wake();
}

bool LooperCore::ClaimWake() noexcept {
  if (!idle_ || !idle_.exchange(false)) return false;
  ++waking_;
  return true;
}

void LooperCore::Wake() noexcept {
  bool woken = waiter_->Wake();
  try {
    if (wake_) wake_();
  } catch (...) {
    woken = false;
  }
  if (!woken) idle_ = true;  // the next one tries again
  --waking_;
}

}  // namespace base::threading
