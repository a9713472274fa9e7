#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include <plenar_base/plenar_base_export.h>

namespace base::threading {

/// The host's side of the main looper: makes the constructing thread the main looper thread for
/// the life of the object. Tasks and timer ticks run on that thread, one at a time. One main
/// looper at a time per process; a second throws `std::logic_error`.
///
/// What runs it is one of these:
///  - On Windows, any message loop of the thread: the host's own, a dialog's, a menu's. Work comes
///    as messages to a hidden window. Ticks that are less than 10 ms apart come late.
///  - Elsewhere, or in a loop of another kind: the host's own loop. It is woken by `wake`, runs
///    `RunUntilIdle`, and then waits until `NextDeadline` at the latest.
///  - `Run`, in a program without a loop of its own.
///
/// A dialog that is opened inside a task or a tick holds up all others until it is closed: tasks
/// never overlap. A window procedure may open one.
///
/// The destructor runs on the same thread, outside of tasks. It ends posting
/// (`LooperThread::MainLooper` gives null), then releases the tasks that have not run. A host that
/// unloads a plug-in lets the looper run once more before it does so: tasks that the plug-in
/// posted must not outlive its code.
class PLENAR_BASE_EXPORT MainLooperScope {
 public:
  /// `wake` is called when something has been posted, or a timer started, that the looper's thread
  /// may not know of; not again until the looper has run. It is called on any thread, with no
  /// lock held, must not throw, and is not called any more when the destructor has returned.
  explicit MainLooperScope(std::function<void()> wake = nullptr);
  ~MainLooperScope();
  MainLooperScope(const MainLooperScope&) = delete;
  MainLooperScope& operator=(const MainLooperScope&) = delete;

  /// Runs tasks, ticks and window messages until `Quit`, waiting in between; on Windows also until
  /// `WM_QUIT`, which is left for the loop around this one. With a simulated time source only what
  /// is posted, messages and `Quit` end a wait, since no time passes: use `RunUntilIdle`. Throws
  /// `std::logic_error` when called inside a task, a tick or itself. [main looper]
  void Run();

  /// Makes `Run` return after the task that is running now. A `Quit` before `Run` makes that
  /// `Run` return at once. [any thread]
  void Quit();

  /// Runs everything that is ready (tasks, ticks, window messages), including what that makes
  /// ready, and returns how many tasks and ticks ran. Never waits. Inside a task or a tick nothing
  /// runs, and the result is 0. [main looper]
  std::size_t RunUntilIdle();

  /// When there is next something to run, in milliseconds of the time source's steady clock; none
  /// if nothing is posted or scheduled. [main looper]
  [[nodiscard]] std::optional<std::uint64_t> NextDeadline() const;
};

}  // namespace base::threading
