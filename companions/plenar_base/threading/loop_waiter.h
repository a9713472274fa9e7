#pragma once

#include <cstdint>
#include <memory>

namespace base::threading {

/// What the main looper's thread waits on: wake-ups, window messages and the passing of time, all
/// at once. At most one exists at a time. Made and destroyed on the looper's thread.
class LoopWaiter {
 public:
  LoopWaiter();
  ~LoopWaiter();
  LoopWaiter(const LoopWaiter&) = delete;
  LoopWaiter& operator=(const LoopWaiter&) = delete;

  /// Ends the wait that is under way, or else the next one at once. [any thread]
  void Wake() noexcept;

  /// Waits for a wake-up, a window message or the end of the time, whichever comes first; may
  /// also end for no reason. At most `kLongestWait`. [looper thread]
  void Wait(std::uint64_t milliseconds);

  static constexpr std::uint64_t kLongestWait = 3'600'000;

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

/// Fetches one message of the calling thread's windows and runs its window procedure; false if
/// there was none.
bool DispatchWindowMessage();

}  // namespace base::threading
