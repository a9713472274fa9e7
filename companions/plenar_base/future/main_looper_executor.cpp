#include <plenar_base/future.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include <plenar_base/location.h>
#include <plenar_base/looper.h>

#include "immortal.h"

namespace base::future {
namespace {

/// Keeps what it has posted until it runs, so that it can be cancelled on any thread.
class LooperExecutor final : public FutureExecutor {
 public:
  TaskId PostTask(std::function<void()> task, Location location) override {
    return PostDelayedTask(0, std::move(task), location);
  }

  TaskId PostDelayedTask(std::uint64_t delay_ms, std::function<void()> task,
                         Location location) override {
    const auto looper = threading::LooperThread::MainLooper();
    if (!looper || !task) return 0;
    const TaskId id = Keep(std::move(task));
    // A looper that drops what is posted ends the task with it.
    const std::shared_ptr<void> dropped(nullptr, [this, id](void*) { CancelTask(id); });
    looper->PostTask(
        [this, id, dropped] {
          if (const auto kept = Take(id)) kept.mapped()();
        },
        delay_ms, location);
    return id;
  }

  void CancelTask(TaskId id) override { Take(id); }

 private:
  using Tasks = std::map<TaskId, std::function<void()>>;

  TaskId Keep(std::function<void()> task) {
    std::lock_guard lock(mutex_);
    tasks_.emplace(++last_id_, std::move(task));
    return last_id_;
  }

  /// The caller releases it without the lock.
  Tasks::node_type Take(TaskId id) {
    std::lock_guard lock(mutex_);
    return tasks_.extract(id);
  }

  std::mutex mutex_;
  Tasks tasks_;
  TaskId last_id_ = 0;
};

}  // namespace

std::shared_ptr<FutureExecutor> MainLooperExecutor() {
  // It lives for ever, so nothing counts its owners.
  return {std::shared_ptr<void>(), &Immortal<LooperExecutor>()};
}

}  // namespace base::future
