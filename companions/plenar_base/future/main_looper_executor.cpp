#include <plenar_base/future.h>

#include <utility>

#include "immortal.h"
#include "threading/looper_core.h"

namespace base::future {
namespace {

class LooperExecutor final : public FutureExecutor {
 public:
  TaskId PostTask(std::function<void()> task, Location location) override {
    return PostDelayedTask(0, std::move(task), location);
  }

  TaskId PostDelayedTask(std::uint64_t delay_ms, std::function<void()> task,
                         Location location) override {
    const auto looper = threading::CurrentLooperCore();
    if (!looper) return 0;
    const auto slot = looper->Schedule(looper->NowPlus(delay_ms), std::move(task), location);
    return slot ? slot->sequence : 0;
  }

  void CancelTask(TaskId id) override {
    if (const auto looper = threading::CurrentLooperCore()) looper->Cancel(id);
  }
};

}  // namespace

std::shared_ptr<FutureExecutor> MainLooperExecutor() {
  // It lives for ever, so nothing counts its owners.
  return {std::shared_ptr<void>(), &Immortal<LooperExecutor>()};
}

}  // namespace base::future
