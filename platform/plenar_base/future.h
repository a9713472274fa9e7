#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <variant>

#include <plenar_base/location.h>
#include <plenar_base/plenar_base_export.h>
#include <plenar_base/variant.h>

namespace base::future {

enum class FutureState : std::int32_t { kPending = 0, kValueSet = 1, kGivenUp = 2 };

/// Runs continuations. The order of the virtual operations is part of the contract.
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

/// An executor over the main looper; without one it drops what is posted. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<FutureExecutor> MainLooperExecutor();

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
  ~FutureClient() override;

  /// Completes the future. False, and nothing is stored, if it was not pending. `delay_ms` is
  /// how long an executor waits before it runs the continuation.
  bool SetValue(T value, std::uint64_t delay_ms, Location location);

  /// Attaches the one continuation, and the executor that runs it (null: it runs inline). On a
  /// future that is already complete it is run, or posted, at once. Runs at most once; what it
  /// throws is swallowed. A second continuation is ignored.
  ///
  /// If the executor's post throws, that passes out of the call that posts, the value and the
  /// continuation stay, and the next `Then` posts again.
  void Then(Continuation continuation, std::shared_ptr<FutureExecutor> executor, Location location);

  /// The value; a default-made one while there is none.
  [[nodiscard]] T Value() const;

 private:
  void CallThenFuncIfAvailable(std::unique_lock<std::mutex> lock, Location location);
  void Post(Location location);
  void Run(const Continuation& continuation) const;

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

#include <plenar_base/future_inl.h>
