#pragma once

#include <plenar_base/future.h>

namespace base::future {

template <class T>
FutureClient<T>::~FutureClient() {
  {
    std::lock_guard lock(mutex_);
    destroyed_ = true;
  }
  if (!CompareAndSet(FutureState::kPending, FutureState::kGivenUp, [] {})) return;
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
  const bool was_pending = CompareAndSet(FutureState::kPending, FutureState::kValueSet, [&] {
    value_ = std::move(value);
    delay_ms_ = delay_ms;
  });
  if (was_pending) CallThenFuncIfAvailable(location);
  return was_pending;
}

template <class T>
void FutureClient<T>::Then(Continuation continuation, std::shared_ptr<FutureExecutor> executor,
                           Location location) {
  {
    std::lock_guard lock(mutex_);
    if (continuation_ || claimed_) return;
    continuation_ = std::move(continuation);
    executor_ = std::move(executor);
  }
  CallThenFuncIfAvailable(location);
}

template <class T>
T FutureClient<T>::Value() const {
  std::lock_guard lock(mutex_);
  const T* const value = std::get_if<T>(&value_);
  return value != nullptr ? *value : T();
}

template <class T>
void FutureClient<T>::CallThenFuncIfAvailable(Location location) {
  std::shared_ptr<FutureExecutor> executor;
  {
    std::lock_guard lock(mutex_);
    if (state_ != FutureState::kValueSet || !continuation_ || claimed_) return;
    claimed_ = true;
    executor = executor_;
  }
  if (!executor) return RunContinuation();

  // The executor is called without the lock: it may run the task before it returns.
  auto task = [weak = weak_from_this()] {
    if (const auto self = std::static_pointer_cast<FutureClient>(weak.lock())) {
      self->RunContinuation();
    }
  };
  const FutureExecutor::TaskId id =
      delay_ms_ == 0 ? executor->PostTask(std::move(task), location)
                     : executor->PostDelayedTask(delay_ms_, std::move(task), location);
  std::lock_guard lock(mutex_);
  posted_[posted_[0] == 0 ? 0 : 1] = id;
}

template <class T>
void FutureClient<T>::RunContinuation() {
  const auto keep_alive = weak_from_this().lock();  // the continuation may drop the last owner
  Continuation continuation;
  {
    std::lock_guard lock(mutex_);
    if (destroyed_) return;
    continuation.swap(continuation_);
  }
  if (!continuation) return;
  try {
    continuation(std::get<T>(value_));  // never changes again, so needs no lock
  } catch (...) {                       // is the consumer's own affair, and none of the producer's
  }
}

}  // namespace base::future
