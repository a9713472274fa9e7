#include "virtual/scheduler.h"

#include <algorithm>
#include <chrono>
#include <exception>
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
  stopping_ = true;
  changed_.notify_all();
  if (!thread_.joinable() || OnLibraryThread()) return;
  lock.unlock();
  thread_.join();
  lock.lock();
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

std::optional<std::uint64_t> Scheduler::NextDeadline() const {
  if (queue_.empty()) return std::nullopt;
  return queue_.begin()->first;
}

std::size_t Scheduler::AdvanceTo(std::uint64_t now, Lock& lock) {
  if (!manual_now_) return 0;
  const std::size_t before = runs_;
  manual_limit_ = now;
  changed_.notify_all();
  changed_.wait(lock, [this] { return running_ == nullptr && !IsDue(); });
  manual_limit_.reset();
  if (manual_now_) manual_now_ = std::max(*manual_now_, now);
  return runs_ - before;
}

std::uint64_t Scheduler::DeadlineAfter(std::uint64_t delay) const {
  constexpr std::uint64_t kLongest = 100'000'000'000;  // Three years: nothing overflows.
  return (manual_now_ ? *manual_now_ : SteadyNow()) + std::min(delay, kLongest);
}

bool Scheduler::IsDue() const {
  const std::optional<std::uint64_t> limit = manual_now_ ? manual_limit_ : SteadyNow();
  return limit && !queue_.empty() && queue_.begin()->first <= *limit;
}

void Scheduler::Add(std::uint64_t delay, Entry entry) {
  Start();
  queue_.emplace(DeadlineAfter(delay), std::move(entry));
  changed_.notify_all();
}

void Scheduler::RunThread() {
  Lock lock(mutex_);
  while (true) {
    if (IsDue()) {
      RunFirst(lock);
    } else if (stopping_) {
      break;
    } else {
      Sleep(lock);
    }
  }
  ended_ = true;
}

void Scheduler::RunFirst(Lock& lock) {
  auto node = queue_.extract(queue_.begin());
  Entry& entry = node.mapped();
  if (manual_now_) manual_now_ = std::max(*manual_now_, node.key());
  running_ = entry.owner;
  running_cancelled_ = false;
  try {
    entry.task(lock);
  } catch (const std::exception&) {
    // Out of memory: one report or broadcast less.
  }
  if (!lock.owns_lock()) lock.lock();
  running_ = nullptr;
  ++runs_;
  if (entry.interval != 0 && !running_cancelled_) {
    node.key() = DeadlineAfter(entry.interval);
    queue_.insert(std::move(node));
  }
  changed_.notify_all();
}

void Scheduler::Sleep(Lock& lock) {
  if (manual_now_ || queue_.empty()) return changed_.wait(lock);
  const Milliseconds moment(queue_.begin()->first);
  changed_.wait_until(lock, std::chrono::steady_clock::time_point(moment));
}

}  // namespace plenar_ble
