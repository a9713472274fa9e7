#include "threading/loop_waiter.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace base::threading {
namespace {

/// Other loops learn of work through the host's wake function, so there is nothing to hand over.
class ConditionWaiter final : public LoopWaiter {
 public:
  bool Wake() noexcept override {
    {
      std::lock_guard lock(mutex_);
      woken_ = true;
    }
    changed_.notify_one();
    return true;
  }

  void Wait(std::uint64_t milliseconds) override {
    const std::chrono::milliseconds timeout(std::min(milliseconds, kLongestWait));
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, timeout, [this] { return woken_; });
    woken_ = false;
  }

  Message DispatchOne() override {
    MSG message;
    if (!PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return Message::kNone;
    DispatchMessageA(&message);
    return Message::kDispatched;
  }

  void HandOver() override {}

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool woken_ = false;
};

}  // namespace

std::unique_ptr<LoopWaiter> MakeLoopWaiter(LooperCore&) {
  return std::make_unique<ConditionWaiter>();
}

}  // namespace base::threading
