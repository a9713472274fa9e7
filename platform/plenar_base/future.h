#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <variant>

#include <plenar_base/location.h>
#include <plenar_base/variant.h>

namespace base::future {

enum class FutureState : std::int32_t { kPending = 0, kValueSet = 1, kGivenUp = 2 };

/// Runs continuations; the host brings its own. The order of the virtual operations is part of the
/// contract.
class FutureExecutor {
 public:
  using TaskId = std::uint64_t;  ///< 0 names no task.

  virtual TaskId PostTask(std::function<void()> task, Location location) = 0;
  virtual TaskId PostDelayedTask(std::uint64_t delay_ms, std::function<void()> task,
                                 Location location) = 0;
  virtual void CancelTask(TaskId id) = 0;

 protected:
  ~FutureExecutor() = default;
};

/// Lets a future hand out shared pointers to itself whatever its value type is.
class FutureClientBase : public std::enable_shared_from_this<FutureClientBase> {
 public:
  FutureClientBase(const FutureClientBase&) = delete;
  FutureClientBase& operator=(const FutureClientBase&) = delete;

 protected:
  FutureClientBase() = default;
  virtual ~FutureClientBase() = default;
};

/// A state that changes only by compare-and-set, and the mutex that guards it and what belongs
/// to it.
template <class State, class Mutex>
class StateHolder {
 public:
  [[nodiscard]] State GetState() const {
    std::lock_guard lock(mutex_);
    return state_;
  }

 protected:
  explicit StateHolder(State initial) : state_(initial) {}
  ~StateHolder() = default;

  /// Changes `expected` into `desired`; false if the state was another. With the mutex held.
  bool CompareAndSet(State expected, State desired) {
    if (state_ != expected) return false;
    state_ = desired;
    return true;
  }

  mutable Mutex mutex_;
  State state_;
};

/// The consumer's side of a value that may come later, and the one continuation that wants it.
/// Owned by shared pointers. [any thread]
template <class T>
class FutureClient final : public FutureClientBase, public StateHolder<FutureState, std::mutex> {
 public:
  using Continuation = std::function<void(const T&)>;

  FutureClient() : StateHolder(FutureState::kPending) {}

  ~FutureClient() override {
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

  /// Completes the future. False, and nothing is stored, if it was not pending. `delay_ms` is
  /// how long an executor waits before it runs the continuation.
  bool SetValue(T value, std::uint64_t delay_ms, Location location) {
    std::unique_lock lock(mutex_);
    if (!CompareAndSet(FutureState::kPending, FutureState::kValueSet)) return false;
    value_ = std::move(value);
    delay_ms_ = delay_ms;
    CallThenFuncIfAvailable(std::move(lock), location);
    return true;
  }

  /// Attaches the one continuation, and the executor that runs it (null: it runs inline). On a
  /// future that is already complete it is run, or posted, at once. Runs at most once; what it
  /// throws is swallowed. A second continuation is ignored.
  ///
  /// If the executor's post throws, that passes out of the call that posts, the value and the
  /// continuation stay, and the next `Then` posts again.
  void Then(Continuation continuation, std::shared_ptr<FutureExecutor> executor,
            Location location) {
    std::unique_lock lock(mutex_);
    if (!continuation_ && !claimed_) {
      continuation_ = std::move(continuation);
      executor_ = std::move(executor);
    }
    CallThenFuncIfAvailable(std::move(lock), location);
  }

  /// The value; a default-made one while there is none.
  [[nodiscard]] T Value() const {
    std::lock_guard lock(mutex_);
    const T* const value = std::get_if<T>(&value_);
    return value != nullptr ? *value : T();
  }

 private:
  // What others do is called without the lock: an executor may run the task before it returns, and
  // a continuation may ask this future for something, or drop its last owner.
  void CallThenFuncIfAvailable(std::unique_lock<std::mutex> lock, Location location) {
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

  void Post(Location location) {
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

  void Run(const Continuation& continuation) const {
    try {
      continuation(std::get<T>(value_));  // never changes again, so needs no lock
    } catch (...) {  // is the consumer's own affair, and none of the producer's
    }
  }

  std::variant<std::monostate, std::exception_ptr, T> value_;
  std::uint64_t delay_ms_ = 0;
  Continuation continuation_;
  std::shared_ptr<FutureExecutor> executor_;
  std::array<FutureExecutor::TaskId, 2> posted_{};
  bool claimed_ = false;  // somebody has run or posted the continuation, or is about to
  bool destroyed_ = false;
};

using VariantFuture = FutureClient<std::shared_ptr<variant::Variant>>;

}  // namespace base::future
