#include "threading/looper_core.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include <plenar_base/log.h>

namespace base::threading {
namespace {

std::atomic<std::uint64_t> last_sequence{0};

void RunGuarded(const std::function<void()>& task, const Location& location) {
  try {
    task();
  } catch (...) {
    constexpr int kError = 3;
    if (log::GetLogLevel() < kError) return;
    const std::string_view path = location.File();
    log::PrintLog({}, std::string(path.substr(path.find_last_of("/\\") + 1)), location.Line(),
                  "Looper", kError, "a task ended with an exception");
  }
}

}  // namespace

/// Marks the loop as running while it exists, unless it is already.
class LooperCore::RunningMark {
 public:
  explicit RunningMark(bool& running) : running_(running), was_running_(running) {
    running_ = true;
  }
  ~RunningMark() { running_ = was_running_; }
  RunningMark(const RunningMark&) = delete;
  RunningMark& operator=(const RunningMark&) = delete;

  [[nodiscard]] bool IsNested() const { return was_running_; }

 private:
  bool& running_;
  const bool was_running_;
};

LooperCore::LooperCore() : waiter_(std::make_unique<LoopWaiter>()) {}

bool LooperCore::IsCurrentThread() const noexcept {
  return std::this_thread::get_id() == thread_;
}

std::uint64_t LooperCore::NowPlus(std::uint64_t delay_ms) const noexcept {
  constexpr auto kEnd = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t now = Now();
  return delay_ms < kEnd - now ? now + delay_ms : kEnd;
}

void LooperCore::PostTask(std::function<void()> task, std::uint64_t delay_ms, Location location) {
  Schedule(NowPlus(delay_ms), std::move(task), location);
}

std::optional<LooperCore::Slot> LooperCore::Schedule(std::uint64_t due_ms,
                                                     std::function<void()> task,
                                                     Location location) {
  if (!task) return std::nullopt;
  std::lock_guard lock(mutex_);
  if (!waiter_) return std::nullopt;
  const Slot slot{due_ms, ++last_sequence};
  const auto place = tasks_.emplace(slot, Task{std::move(task), location}).first;
  // The looper's thread looks at the schedule by itself before it waits.
  if (place == tasks_.begin() && !IsCurrentThread()) waiter_->Wake();
  return slot;
}

void LooperCore::Cancel(const Slot& slot) {
  Tasks::node_type cancelled;  // released without the lock
  std::lock_guard lock(mutex_);
  cancelled = tasks_.extract(slot);
}

void LooperCore::Cancel(std::uint64_t sequence) {
  Tasks::node_type cancelled;
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(tasks_.begin(), tasks_.end(), [sequence](const auto& task) {
    return task.first.sequence == sequence;
  });
  if (found != tasks_.end()) cancelled = tasks_.extract(found);
}

bool LooperCore::IsScheduled(const Slot& slot) const {
  std::lock_guard lock(mutex_);
  return tasks_.contains(slot);
}

void LooperCore::Run() {
  const RunningMark mark(running_);
  if (mark.IsNested()) return;
  while (!TakeQuit()) {
    if (RunOneOfEach() == 0) WaitForWork();
  }
}

void LooperCore::Quit() {
  std::lock_guard lock(mutex_);
  quit_ = true;
  if (waiter_) waiter_->Wake();
}

std::size_t LooperCore::RunUntilIdle() {
  const RunningMark mark(running_);
  if (mark.IsNested()) return 0;
  std::size_t total = 0;
  while (const std::size_t ran = RunOneOfEach()) total += ran;
  return total;
}

std::optional<std::uint64_t> LooperCore::NextDeadline() const {
  std::lock_guard lock(mutex_);
  if (tasks_.empty()) return std::nullopt;
  return tasks_.begin()->first.due_ms;
}

void LooperCore::Close() {
  Tasks unrun;  // released without the lock: what they hold may post, or stop a timer
  std::unique_ptr<LoopWaiter> waiter;
  std::lock_guard lock(mutex_);
  unrun.swap(tasks_);
  waiter = std::move(waiter_);
}

std::size_t LooperCore::RunOneOfEach() {
  std::size_t ran = DispatchWindowMessage() ? 1 : 0;
  if (const Tasks::node_type due = TakeDue()) {
    RunGuarded(due.mapped().run, due.mapped().location);
    ++ran;
  }
  return ran;
}

LooperCore::Tasks::node_type LooperCore::TakeDue() {
  std::lock_guard lock(mutex_);
  if (tasks_.empty() || tasks_.begin()->first.due_ms > Now()) return {};
  return tasks_.extract(tasks_.begin());
}

void LooperCore::WaitForWork() {
  const auto deadline = NextDeadline();
  const std::uint64_t now = Now();
  if (!deadline) {
    waiter_->Wait(LoopWaiter::kLongestWait);
  } else if (*deadline > now) {
    waiter_->Wait(*deadline - now);
  }
}

bool LooperCore::TakeQuit() {
  std::lock_guard lock(mutex_);
  return std::exchange(quit_, false);
}

}  // namespace base::threading
