#pragma once

#include <memory>
#include <utility>

#include <plenar_base/location.h>
#include <plenar_base/looper.h>
#include <plenar_base/timer.h>

#include "framework/guard.h"

namespace quorvel_service {

/// Whether the calling thread is the main looper's, for assertions; true where there is none.
[[nodiscard]] inline bool IsOnMainLooper() noexcept {
  const auto looper = base::threading::LooperThread::MainLooper();
  return looper == nullptr || looper->IsCurrentThread();
}

/// Runs `task` later on the main looper thread and logs what it throws; drops it where there is no
/// main looper. [any thread]
template <class Task>
void PostToMainLooper(base::Location location, Task task) {
  if (const auto looper = base::threading::LooperThread::MainLooper()) {
    looper->PostTask(Guarded(std::move(task)), 0, location);
  }
}

/// Makes a stopped timer, whose ticks log what `task` throws. [main looper]
template <class Task>
[[nodiscard]] std::unique_ptr<base::threading::Timer> MakeTimer(base::Location location,
                                                                Task task) {
  return base::threading::CreateTimer(Guarded(std::move(task)), location);
}

}  // namespace quorvel_service
