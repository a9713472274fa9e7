#pragma once

#include <plenar_base/future.h>

namespace base::future {

template <class T>
FutureClient<T>::~FutureClient() {
  destroyed_ = true;  // no other thread can be inside any more
  if (state_ == FutureState::kValueSet) return;
  {
    std::lock_guard lock(mutex_);
    if (!CompareAndSet(FutureState::kPending, FutureState::kGivenUp)) return;
  }
  if (!continuation_ || !executor_) return;
  for (const FutureExecutor::TaskId id : posted_) {
    if (id == 0) continue;
    try {
      executor_->CancelTask(id);
    } catch (...) {  // the task finds nothing to do anyway
    }
  }
}

template <class T>
bool FutureClient<T>::SetValue(T value, std::uint64_t delay_ms, Location location) {
  std::unique_lock lock(mutex_);
  if (!CompareAndSet(FutureState::kPending, FutureState::kValueSet)) return false;
  value_ = std::move(value);
  delay_ms_ = delay_ms;
  CallThenFuncIfAvailable(std::move(lock), location);
  return true;
}

template <class T>
void FutureClient<T>::Then(Continuation continuation, std::shared_ptr<FutureExecutor> executor,
                           Location location) {
  std::unique_lock lock(mutex_);
  if (!continuation_ && !claimed_) {
    continuation_ = std::move(continuation);
    executor_ = std::move(executor);
  }
  CallThenFuncIfAvailable(std::move(lock), location);
}

template <class T>
T FutureClient<T>::Value() const {
  std::lock_guard lock(mutex_);
  const T* const value = std::get_if<T>(&value_);
  return value != nullptr ? *value : T();
}

/// What others do is called without the lock: an executor may run the task before it returns, and
/// a continuation may ask this future for something, or drop its last owner.
template <class T>
void FutureClient<T>::CallThenFuncIfAvailable(std::unique_lock<std::mutex> lock,
                                              Location location) {
  if (state_ != FutureState::kValueSet || !continuation_ || claimed_) return;
  claimed_ = true;
  const auto keep_alive = weak_from_this().lock();
  if (executor_) {
    lock.unlock();
    Post(location);
  } else {
    const Continuation continuation = std::exchange(continuation_, nullptr);
    lock.unlock();
    Run(continuation);
  }
}

template <class T>
void FutureClient<T>::Post(Location location) {
  try {
    auto task = [weak = weak_from_this()] {
      const auto self = std::static_pointer_cast<FutureClient>(weak.lock());
      if (!self) return;
      std::unique_lock lock(self->mutex_);
      if (self->destroyed_) return;
      const Continuation continuation = std::exchange(self->continuation_, nullptr);
      lock.unlock();
      if (continuation) self->Run(continuation);
    };
    const FutureExecutor::TaskId id =
        delay_ms_ == 0 ? executor_->PostTask(std::move(task), location)
                       : executor_->PostDelayedTask(delay_ms_, std::move(task), location);
    std::lock_guard lock(mutex_);
    posted_[posted_[0] == 0 ? 0 : 1] = id;
  } catch (...) {
    std::lock_guard lock(mutex_);
    claimed_ = false;
    throw;
  }
}

template <class T>
void FutureClient<T>::Run(const Continuation& continuation) const {
  try {
    continuation(std::get<T>(value_));  // never changes again, so needs no lock
  } catch (...) {                       // is the consumer's own affair, and none of the producer's
  }
}

}  // namespace base::future
