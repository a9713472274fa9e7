#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include <plenar_base/location.h>
#include <plenar_base/looper.h>
#include <plenar_base/time_source.h>

#include "threading/loop_waiter.h"

namespace base::threading {

/// The main looper: one schedule of tasks and timer ticks, and the loop that runs it together
/// with the thread's window messages. What is due at the same time runs in the order in which it
/// was scheduled; messages and tasks take turns, so that neither holds up the other for ever.
///
/// Shared with whoever posts, and so may outlive the loop: once closed, it drops what is posted.
class LooperCore : public Looper {
 public:
  /// A place in the schedule. No two are equal in the life of the process.
  struct Slot {
    std::uint64_t due_ms;
    std::uint64_t sequence;
    auto operator<=>(const Slot&) const = default;
  };

  /// Makes the calling thread the looper's thread.
  LooperCore();

  [[nodiscard]] bool IsCurrentThread() const noexcept override;
  void PostTask(std::function<void()> task, std::uint64_t delay_ms, Location location) override;

  /// Schedules a task for a time of the steady clock; none when closed. [any thread]
  std::optional<Slot> Schedule(std::uint64_t due_ms, std::function<void()> task, Location location);
  /// Removes a task that has not started; nothing happens if it has. [any thread]
  void Cancel(const Slot& slot);
  /// As above, by the slot's sequence number alone: slower, searches the whole schedule.
  void Cancel(std::uint64_t sequence);
  /// Whether the task has yet to start. [any thread]
  [[nodiscard]] bool IsScheduled(const Slot& slot) const;

  /// The steady clock, and the same moved by a delay; stops at the clock's end. [any thread]
  [[nodiscard]] std::uint64_t Now() const noexcept { return time_->SteadyMilliseconds(); }
  [[nodiscard]] std::uint64_t NowPlus(std::uint64_t delay_ms) const noexcept;

  /// As in `MainLooperScope`. Inside a task `Run` and `RunUntilIdle` return at once, so that
  /// tasks never overlap.
  void Run();
  void Quit();
  std::size_t RunUntilIdle();
  [[nodiscard]] std::optional<std::uint64_t> NextDeadline() const;

  /// Ends scheduling and releases what has not run. [looper thread]
  void Close();

 private:
  struct Task {
    std::function<void()> run;
    Location location;
  };
  using Tasks = std::map<Slot, Task>;

  class RunningMark;

  std::size_t RunOneOfEach();
  Tasks::node_type TakeDue();
  void WaitForWork();
  [[nodiscard]] bool TakeQuit();

  const std::thread::id thread_ = std::this_thread::get_id();
  const std::shared_ptr<const time::TimeSource> time_ = time::GetTimeSource();
  bool running_ = false;  ///< Looper thread only.

  mutable std::mutex mutex_;
  Tasks tasks_;
  bool quit_ = false;
  std::unique_ptr<LoopWaiter> waiter_;  ///< Null when closed.
};

/// The looper of the `MainLooperScope` that exists, or null. [any thread]
[[nodiscard]] std::shared_ptr<LooperCore> CurrentLooperCore() noexcept;

}  // namespace base::threading
