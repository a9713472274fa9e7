#pragma once

#include <utility>

#include <plenar_base/location.h>
#include <plenar_base/looper.h>

#include "framework/guard.h"
#include "framework/log_writer.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

/// What the wrapper's sources share.
namespace quorvel_service {

/// Runs `task` later on the main looper thread; drops it where there is no main looper. [any
/// thread]
template <class Task>
void PostToMainLooper(Task task, base::Location location) {
  if (const auto looper = base::threading::LooperThread::MainLooper()) {
    looper->PostTask(Swallowing(std::move(task)), 0, location);
  }
}

}  // namespace quorvel_service
