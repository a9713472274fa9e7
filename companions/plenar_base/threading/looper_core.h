#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <plenar_base/location.h>
#include <plenar_base/looper.h>
#include <plenar_base/time_source.h>

#include "threading/loop_waiter.h"
#include "threading/schedule.h"

namespace base::threading {

/// The main looper. Tasks without a delay are taken over from the posting threads all at once and
/// run as one batch; what has a due time waits in a schedule of the looper's thread, and knows how
/// many tasks are to run before it.
///
/// There is one for the life of the process, open while a `MainLooperScope` exists. While it is
/// closed it drops what is posted. So it can be used without owning it.
class LooperCore final : public Looper {
 public:
  [[nodiscard]] static LooperCore& Get() noexcept;

  /// Makes the calling thread the looper's; throws `std::logic_error` if it is open already.
  void Open(std::function<void()> wake);
  /// Ends posting, waits until nobody is in the wake function, and releases what has not run.
  /// [looper thread]
  void Close();
  [[nodiscard]] bool IsOpen() const noexcept { return thread_.load() != std::thread::id(); }

  [[nodiscard]] bool IsCurrentThread() const noexcept override;
  void PostTask(std::function<void()> task, std::uint64_t delay_ms, Location location) override;

  /// As in `MainLooperScope`.
  void Run();
  void Quit();
  std::size_t RunUntilIdle();
  [[nodiscard]] std::optional<std::uint64_t> NextDeadline();

  /// Schedules what is not scheduled, and takes it out again. [looper thread, open]
  void Start(Scheduled& timer, std::uint64_t due_ms) noexcept;
  void Stop(Scheduled& timer) noexcept { schedule_.Remove(timer); }

  /// The steady clock, and the same moved by a delay; stops at the clock's end. [looper thread,
  /// open]
  [[nodiscard]] std::uint64_t Now() const noexcept { return time_->SteadyMilliseconds(); }
  [[nodiscard]] std::uint64_t NowPlus(std::uint64_t delay_ms) const noexcept;

  /// For a message loop that is not ours: runs one batch, unless the loop is inside a task.
  /// [looper thread]
  void RunFromMessage();

 private:
  using Task = std::pair<std::function<void()>, Location>;
  class DelayedTask;

  template <class Push>
  void Post(const Push& push);
  void SetPlace(Scheduled& scheduled, std::uint64_t due_ms) noexcept;
  void TakeOver();
  std::size_t RunBatch();
  [[nodiscard]] Scheduled* FirstDue() const noexcept;
  bool ClaimWake() noexcept;
  void Wake() noexcept;

  // Three parts that threads write at different times: none is to slow another's readers.
  static constexpr std::size_t kCacheLine = 64;

  // Of the looper's thread.
  Schedule schedule_;
  std::vector<Task> batch_;
  std::size_t next_ = 0;  ///< Of the batch, what runs next.
  std::uint64_t count_before_ =
      0;                      ///< Of the tasks without a delay, how many ran before the batch.
  std::uint64_t now_ms_ = 0;  ///< When the clock was last looked at.
  bool in_task_ = false;
  bool in_run_ = false;

  // Set by the looper's thread while nobody can post or wakes.
  alignas(kCacheLine) std::shared_ptr<const time::TimeSource> time_;
  std::unique_ptr<LoopWaiter> waiter_;
  std::function<void()> wake_;
  // Rarely changed.
  std::atomic<std::thread::id> thread_;  ///< None while closed.
  std::atomic<bool> quit_ = false;
  std::atomic<bool> idle_ = false;  ///< Nobody looks for work before being woken.
  std::atomic<int> waking_ = 0;     ///< How many threads are about to wake, or do so.

  alignas(kCacheLine) std::mutex mutex_;
  std::vector<Task> posted_;
  std::vector<std::unique_ptr<DelayedTask>> posted_delayed_;
  std::atomic<std::uint64_t> posted_count_ = 0;  ///< Of tasks without a delay.
  std::atomic<std::uint64_t> last_number_ = 0;   ///< In the schedule.
};

/// Runs a task. What it throws ends here, with a line in the log.
void RunGuarded(const std::function<void()>& task, const Location& location) noexcept;

}  // namespace base::threading
