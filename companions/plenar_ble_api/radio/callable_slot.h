#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "radio/library_thread.h"

namespace plenar_ble {

/// Holds one callable of the library's user. All operations are for any thread; the callable runs,
/// and is destroyed, while no lock is held.
template <class... Args>
class CallableSlot {
 public:
  using Callable = std::function<void(Args...)>;

  /// Replaces the callable. When this returns, the former one is not running any more and is
  /// destroyed; on a thread of the library, where the caller itself could be running it, it may
  /// still be.
  void Set(Callable callable) {
    std::shared_ptr<Entry> entry;
    if (callable) entry = std::make_shared<Entry>(Entry{std::move(callable)});
    Callable former;  // Goes after the lock, as the entry does.
    std::unique_lock lock(mutex_);
    entry_.swap(entry);
    if (entry == nullptr || OnLibraryThread()) return;
    returned_.wait(lock, [&] { return entry->running == 0; });
    former.swap(entry->callable);  // Who ran it may hold the entry for a moment more.
  }

  [[nodiscard]] bool IsSet() const {
    const std::scoped_lock lock(mutex_);
    return entry_ != nullptr;
  }

  /// Calls the callable, if there is one. What it throws goes no further.
  void operator()(Args... args) {
    const std::shared_ptr<Entry> entry = Borrow();
    if (entry == nullptr) return;
    try {
      entry->callable(args...);
    } catch (...) {
      // The user's failure must not end the library's thread.
    }
    const std::scoped_lock lock(mutex_);
    if (--entry->running == 0) returned_.notify_all();
  }

 private:
  struct Entry {
    Callable callable;
    int running = 0;
  };

  std::shared_ptr<Entry> Borrow() {
    const std::scoped_lock lock(mutex_);
    if (entry_ != nullptr) ++entry_->running;
    return entry_;
  }

  mutable std::mutex mutex_;
  std::condition_variable returned_;
  std::shared_ptr<Entry> entry_;
};

}  // namespace plenar_ble
