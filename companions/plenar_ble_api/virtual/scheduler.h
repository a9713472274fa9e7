#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace plenar_ble {

/// Runs tasks at their deadlines, one after the other, on a thread of its own.
///
/// It works under its owner's mutex, so that taking a task from the queue and acting on the owner's
/// state are one step: a task that was cancelled never runs. All operations need the mutex held.
/// Times and delays are in milliseconds.
///
/// 1. Tasks run in the order of their deadlines; of equal ones, the one scheduled first.
/// 2. A repeated task that comes late is not made up for.
/// 3. Real time passes by itself; manual time only in `AdvanceTo`.
class Scheduler {
 public:
  using Lock = std::unique_lock<std::mutex>;
  /// Starts with the lock held and may give it up. What it throws is dropped.
  using Task = std::function<void(Lock& lock)>;
  /// Names what a task belongs to, for `Cancel`; only its value is used.
  using Owner = const void*;

  explicit Scheduler(std::mutex& mutex) : mutex_(mutex) {}

  /// Starts the thread unless it runs. Whatever is scheduled does so too; who must not fail half
  /// way does it before.
  void Start();
  /// Drops everything scheduled and ends the thread once the task that is running is over. Waits
  /// for that, with the lock given up, unless the caller is a thread of the library.
  void Stop(Lock& lock);

  void After(std::uint64_t delay, Owner owner, Task task);
  /// For the first time at once.
  void Every(std::uint64_t interval, Owner owner, Task task);
  void Cancel(Owner owner);

  /// Manual time from now on, or real time. While nothing is scheduled.
  void SetClock(std::optional<std::uint64_t> manual_now) { manual_now_ = manual_now; }
  [[nodiscard]] std::optional<std::uint64_t> NextDeadline() const;
  /// How many tasks ran. Does nothing in real time.
  std::size_t AdvanceTo(std::uint64_t now, Lock& lock);

 private:
  struct Entry {
    Owner owner;
    std::uint64_t interval;  // 0: once.
    Task task;
  };
  using Queue = std::multimap<std::uint64_t, Entry>;  // By deadline.

  [[nodiscard]] bool IsAlive() const { return thread_.joinable() && !ended_; }
  [[nodiscard]] bool IsDue() const;
  [[nodiscard]] std::uint64_t DeadlineAfter(std::uint64_t delay) const;
  void Add(std::uint64_t delay, Entry entry);
  void RunThread();
  void RunFirst(Lock& lock);
  void Sleep(Lock& lock);

  std::mutex& mutex_;
  std::condition_variable changed_;
  std::thread thread_;
  bool stopping_ = false;
  bool ended_ = false;  // The thread has left its loop and takes the lock no more.
  Queue queue_;
  Owner running_ = nullptr;  // Owner of the task that is running, if one is.
  bool running_cancelled_ = false;
  std::size_t runs_ = 0;
  std::optional<std::uint64_t> manual_now_;
  /// While `AdvanceTo` runs: what is due by then may run.
  std::optional<std::uint64_t> manual_limit_;
};

}  // namespace plenar_ble
