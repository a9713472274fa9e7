#pragma once

#include <functional>
#include <mutex>
#include <optional>

#include <plenar_ble_api/ble_api.h>

#include "radio/call_script.h"
#include "radio/library_reference.h"
#include "radio/publisher.h"
#include "radio/radio_core.h"
#include "radio/watcher.h"

namespace plenar_ble {

/// The virtual radio: what the exported functions and the control interface work on.
///
/// There is one, and it is never destroyed: other libraries' destructors may still call the
/// functions when this library's have run. It has threads only while it is initialised, and keeps
/// the library loaded as long as one of them lives. All operations are for any thread, callables
/// included; taking the radio down from a thread of the library does not wait for the threads, the
/// next `Init` or `UnInit` from elsewhere does.
class Radio {
 public:
  static Radio& Instance();

  Radio(const Radio&) = delete;
  Radio& operator=(const Radio&) = delete;

  Result Init();
  /// When it returns, no callable but the log callable is running, and none is kept.
  void UnInit();
  BleError CheckState();
  /// Back to the state after loading.
  void Reset();
  /// As `Reset`, for the moment when the library is being unloaded.
  void Clear();

  /// Runs `operation` with the lock held.
  template <typename Operation>
  auto Locked(const Operation& operation) {
    const std::scoped_lock lock(core.mutex);
    return operation();
  }

  RadioCore core;
  Publisher publisher{core};
  Watcher watcher{core};
  CallScript script;

 private:
  Radio() = default;

  /// Taken while the radio goes up or down; none when that is under way elsewhere and the caller,
  /// a thread of the library, may be what is waited for there.
  std::unique_lock<std::mutex> LockLifecycle();
  void TakeDown();

  std::mutex lifecycle_mutex_;
  std::optional<LibraryReference> library_;  // While a thread may be alive.
};

}  // namespace plenar_ble
