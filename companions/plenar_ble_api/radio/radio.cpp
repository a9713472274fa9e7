#include "radio/radio.h"

#include <cstddef>
#include <new>

#include "radio/library_thread.h"

namespace plenar_ble {

Radio& Radio::Instance() {
  alignas(Radio) static std::byte storage[sizeof(Radio)];
  static Radio* const radio = new (storage) Radio;
  return *radio;
}

Result Radio::Init() {
  const auto lifecycle = LockLifecycle();
  if (!lifecycle) return kBusy;
  if (!library_) library_ = ReferToLibrary();
  const std::scoped_lock lock(core.mutex);
  core.scheduler.Start();
  core.initialised = true;
  return kAccepted;
}

void Radio::UnInit() {
  const auto lifecycle = LockLifecycle();
  if (!lifecycle) return;
  TakeDown();
  if (!OnLibraryThread()) library_.reset();
}

BleError Radio::CheckState() {
  const std::scoped_lock lock(core.mutex);
  return core.initialised ? BleError::kNone : kCheckedBeforeInit;
}

void Radio::Reset() {
  Clear();
  const auto lifecycle = LockLifecycle();
  if (lifecycle && !OnLibraryThread()) library_.reset();
}

void Radio::Clear() {
  const auto lifecycle = LockLifecycle();
  if (!lifecycle) return;
  TakeDown();
  core.log.Set({});
  script.Reset();
  const std::scoped_lock lock(core.mutex);
  core.scheduler.UseRealTime();
  core.air = plenar_ble_control::Air::kLoopback;
  core.reports = {};
  watcher.ClearAir();
}

std::unique_lock<std::mutex> Radio::LockLifecycle() {
  if (OnLibraryThread()) return std::unique_lock(lifecycle_mutex_, std::try_to_lock);
  return std::unique_lock(lifecycle_mutex_);
}

void Radio::TakeDown() {
  {
    RadioCore::Lock lock(core.mutex);
    core.initialised = false;
    publisher.TakeDown();
    watcher.TakeDown();
    core.scheduler.Stop(lock);
  }
  publisher.status_changed.Set({});
  watcher.received.Set({});
  watcher.stopped.Set({});
}

}  // namespace plenar_ble
