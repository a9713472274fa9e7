#include "virtual/scheduler.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "radio/library_thread.h"

namespace plenar_ble {
namespace {

using Milliseconds = std::chrono::duration<std::uint64_t, std::milli>;

std::uint64_t SteadyNow() {
  return std::chrono::duration_cast<Milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::uint64_t SaturatingSum(std::uint64_t a, std::uint64_t b) {
  return a + std::min(b, std::numeric_limits<std::uint64_t>::max() - a);
}

}  // namespace

void Scheduler::Start() {
  stopping_ = false;
  if (IsAlive()) return;
  if (thread_.joinable()) thread_.join();  // It has ended and does not need the lock held here.
  ended_ = false;
  thread_ = StartLibraryThread([this] { RunThread(); });
}

void Scheduler::Stop(Lock& lock) {
  queue_.clear();
  running_cancelled_ = true;
  quiet_.notify_all();
  if (!thread_.joinable()) return;
  stopping_ = true;
  wake_.notify_one();
  if (OnLibraryThread()) return;
  lock.unlock();
  thread_.join();
  lock.lock();
  // Nothing may be left to release when the library is unloaded.
  errands_.shrink_to_fit();
  running_errands_.shrink_to_fit();
}

void Scheduler::After(std::uint64_t delay, Owner owner, Task task) {
  Add(delay, {owner, 0, std::move(task)});
}

void Scheduler::Every(std::uint64_t interval, Owner owner, Task task) {
  Add(0, {owner, std::max<std::uint64_t>(interval, 1), std::move(task)});
}

void Scheduler::Cancel(Owner owner) {
  std::erase_if(queue_, [owner](const auto& item) { return item.second.owner == owner; });
  if (running_ == owner) running_cancelled_ = true;
}

void Scheduler::Post(std::function<void()> errand) {
  errands_.push_back(std::move(errand));
  wake_.notify_one();
}

void Scheduler::Run(const std::function<void()>& errand) {
  if (OnLibraryThread()) return errand();
  Lock lock(mutex_);
  if (!IsAlive()) {
    lock.unlock();
    return StartLibraryThread(errand).join();
  }
  bool done = false;
  std::condition_variable finished;
  const auto run = [&] {
    errand();
    const std::scoped_lock relock(mutex_);
    done = true;
    finished.notify_one();
  };
  Post([&run] { run(); });  // Small enough to be held without an allocation.
  finished.wait(lock, [&] { return done; });
}

void Scheduler::UseRealTime() {
  SetClock(std::nullopt);
}

void Scheduler::UseManualTime(std::uint64_t now) {
  SetClock(now);
}

void Scheduler::SetClock(std::optional<std::uint64_t> manual_now) {
  const std::uint64_t before = Now();
  manual_now_ = manual_now;
  std::multimap<std::uint64_t, Entry> moved;
  for (auto& [deadline, entry] : queue_) {
    const std::uint64_t remaining = deadline > before ? deadline - before : 0;
    moved.emplace(SaturatingSum(Now(), remaining), std::move(entry));
  }
  queue_ = std::move(moved);
  wake_.notify_one();
}

std::optional<std::uint64_t> Scheduler::NextDeadline() const {
  if (queue_.empty()) return std::nullopt;
  return queue_.begin()->first;
}

std::size_t Scheduler::AdvanceTo(std::uint64_t now, Lock& lock) {
  if (!manual_now_) return 0;
  const std::size_t before = runs_;
  manual_limit_ = now;
  wake_.notify_one();
  quiet_.wait(lock, [this] { return !busy_ && !IsDue(); });
  manual_limit_.reset();
  if (manual_now_) manual_now_ = std::max(*manual_now_, now);
  return runs_ - before;
}

std::uint64_t Scheduler::Now() const {
  return manual_now_ ? *manual_now_ : SteadyNow();
}

bool Scheduler::IsDue() const {
  const std::optional<std::uint64_t> limit = manual_now_ ? manual_limit_ : SteadyNow();
  return limit && !queue_.empty() && queue_.begin()->first <= *limit;
}

void Scheduler::Add(std::uint64_t delay, Entry entry) {
  queue_.emplace(SaturatingSum(Now(), delay), std::move(entry));
  wake_.notify_one();
}

void Scheduler::RunThread() {
  Lock lock(mutex_);
  while (true) {
    if (!errands_.empty()) {
      RunErrands(lock);
    } else if (stopping_) {
      break;
    } else if (IsDue()) {
      RunFirst(lock);
    } else {
      Sleep(lock);
    }
  }
  ended_ = true;
}

void Scheduler::RunErrands(Lock& lock) {
  running_errands_.swap(errands_);
  busy_ = true;
  lock.unlock();
  for (const auto& errand : running_errands_) errand();
  running_errands_.clear();
  lock.lock();
  busy_ = false;
  quiet_.notify_all();
}

void Scheduler::RunFirst(Lock& lock) {
  auto node = queue_.extract(queue_.begin());
  if (manual_now_) manual_now_ = std::max(*manual_now_, node.key());
  busy_ = true;
  running_ = node.mapped().owner;
  running_cancelled_ = false;
  node.mapped().task(lock);
  if (!lock.owns_lock()) lock.lock();
  busy_ = false;
  running_ = nullptr;
  ++runs_;
  if (node.mapped().interval != 0 && !running_cancelled_) {
    node.key() = SaturatingSum(Now(), node.mapped().interval);
    queue_.insert(std::move(node));
  }
  quiet_.notify_all();
}

void Scheduler::Sleep(Lock& lock) {
  if (manual_now_ || queue_.empty()) return wake_.wait(lock);
  constexpr std::uint64_t kDay = 86'400'000;  // Keeps the moment within the clock's range.
  const std::uint64_t moment = std::min(queue_.begin()->first, SteadyNow() + kDay);
  wake_.wait_until(lock, std::chrono::steady_clock::time_point(Milliseconds(moment)));
}

}  // namespace plenar_ble
