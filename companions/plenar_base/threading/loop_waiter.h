#pragma once

#include <cstdint>
#include <memory>

namespace base::threading {

class LooperCore;

/// The platform's part of the main looper: what its thread waits on, and the thread's window
/// messages. Made and destroyed on the looper's thread; that is where everything else than `Wake`
/// is called.
class LoopWaiter {
 public:
  enum class Message { kNone, kDispatched, kQuit };

  LoopWaiter() = default;
  virtual ~LoopWaiter() = default;
  LoopWaiter(const LoopWaiter&) = delete;
  LoopWaiter& operator=(const LoopWaiter&) = delete;

  /// Ends the wait that is under way, or else the next one at once; on Windows makes any message
  /// loop of the thread run what is ready. False if the system refuses. [any thread]
  virtual bool Wake() noexcept = 0;

  /// Waits for `Wake`, a window message or the end of the time, whichever comes first; may also
  /// end for no reason. At most `kLongestWait`.
  virtual void Wait(std::uint64_t milliseconds) = 0;

  /// Fetches one message of the thread's windows and runs its window procedure. A message to end
  /// the thread's loops is left for the next loop.
  virtual Message DispatchOne() = 0;

  /// The thread goes back to code that may have a message loop of its own.
  virtual void HandOver() = 0;

  static constexpr std::uint64_t kLongestWait = 3'600'000;
};

/// Implemented for each platform.
[[nodiscard]] std::unique_ptr<LoopWaiter> MakeLoopWaiter(LooperCore& looper);

}  // namespace base::threading
