#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <plenar_base/plenar_base_export.h>

namespace base::threading {

/// The host's side of the main looper: makes the constructing thread the main looper thread for
/// the life of the object. Tasks, timers and window messages all run on that thread, one at a
/// time. One main looper at a time per process; a second throws `std::logic_error`.
///
/// The destructor runs on the same thread. It ends posting (`LooperThread::MainLooper` gives
/// null), then releases the tasks that have not run. A host that unloads a plug-in lets the looper
/// run once more before it does so: tasks that the plug-in posted must not outlive its code.
class PLENAR_BASE_EXPORT MainLooperScope {
 public:
  MainLooperScope();
  ~MainLooperScope();
  MainLooperScope(const MainLooperScope&) = delete;
  MainLooperScope& operator=(const MainLooperScope&) = delete;

  /// Runs tasks, due timers and window messages until `Quit`, waiting in between. With a
  /// simulated time source only what is posted, messages and `Quit` end a wait, since no time
  /// passes: use `RunUntilIdle`. Inside a task it returns at once. [main looper]
  void Run();

  /// Makes `Run` return after the task that is running now. A `Quit` before `Run` makes that
  /// `Run` return at once. [any thread]
  void Quit();

  /// Runs everything that is ready (messages, tasks, timers that are due), including what that
  /// makes ready, and returns how many ran. Never waits. Inside a task nothing runs.
  /// [main looper]
  std::size_t RunUntilIdle();

  /// When the next delayed task or running timer is due, in milliseconds of the time source's
  /// steady clock; none if nothing is scheduled. [main looper]
  [[nodiscard]] std::optional<std::uint64_t> NextDeadline() const;

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace base::threading
