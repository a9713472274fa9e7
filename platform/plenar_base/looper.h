#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <plenar_base/location.h>
#include <plenar_base/plenar_base_export.h>

namespace base::threading {

/// A queue of tasks that one thread runs. Guarantees:
///  1. Tasks without a delay run in posting order. Tasks with a delay and ticks of timers run in
///     order of their due time; what is due at the same time, in the order in which it was
///     scheduled. Between the two kinds: what was due when a task was posted runs before it, and
///     what was scheduled after a task was posted runs after it.
///  2. Tasks never overlap, and a task never runs inside the call that posts it.
///  3. A task that throws does not stop the looper.
///  4. At shut-down tasks that have not run are released, unrun, on the looper's thread.
///
/// The order of the virtual operations is part of the contract.
class Looper {
 public:
  virtual ~Looper() = default;

  /// Whether the calling thread is the one that runs this looper's tasks. [any thread]
  [[nodiscard]] virtual bool IsCurrentThread() const noexcept = 0;

  /// Queues a task, due `delay_ms` milliseconds from now. [any thread]
  virtual void PostTask(std::function<void()> task, std::uint64_t delay_ms, Location location) = 0;
};

class PLENAR_BASE_EXPORT LooperThread {
 public:
  /// The process's main looper, or null while there is none. [any thread]
  [[nodiscard]] static std::shared_ptr<Looper> MainLooper() noexcept;
};

}  // namespace base::threading
