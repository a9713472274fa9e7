#include "threading/loop_waiter.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace base::threading {

class LoopWaiter::Impl {
 public:
  std::mutex mutex;
  std::condition_variable changed;
  bool woken = false;
};

LoopWaiter::LoopWaiter() : impl_(std::make_unique<Impl>()) {}

LoopWaiter::~LoopWaiter() = default;

void LoopWaiter::Wake() noexcept {
  {
    std::lock_guard lock(impl_->mutex);
    impl_->woken = true;
  }
  impl_->changed.notify_one();
}

void LoopWaiter::Wait(std::uint64_t milliseconds) {
  const std::chrono::milliseconds timeout(std::min(milliseconds, kLongestWait));
  std::unique_lock lock(impl_->mutex);
  impl_->changed.wait_for(lock, timeout, [this] { return impl_->woken; });
  impl_->woken = false;
}

}  // namespace base::threading
