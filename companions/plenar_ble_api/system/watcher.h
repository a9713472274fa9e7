#pragma once

#include <cstdint>
#include <memory>

#include "system/adapter.h"
#include "system/broadcast.h"
#include "system/report.h"
#include "system/task_queue.h"

namespace plenar_ble {

/// The broadcast watcher, over an object of the system's for every start. All operations are for
/// the radio's task thread, where it also reports.
///
/// Scan mode 0 listens only: a device is known by what it sends unasked, and no name comes that
/// only scan responses hold. Modes 1 and 2 ask devices for their scan responses. No mode samples:
/// every packet that the system passes on is reported.
class SystemWatcher {
 public:
  SystemWatcher(Callables& callables, Adapter& adapter, std::shared_ptr<TaskQueue> tasks)
      : callables_(callables), adapter_(adapter), tasks_(std::move(tasks)) {}

  /// Nothing when it watches already. A failure is reported as the watcher's end.
  void Start(int scan_mode);
  /// Reports the end at once when nothing runs.
  void Stop();
  /// Stops without waiting for the system's report, and without one of its own.
  void TakeDown();

 private:
  void StartObject(int scan_mode);
  void OnStopped(std::uint64_t object, winrt::BluetoothError error);
  void OnReceived(std::uint64_t object, Packet packet);

  Callables& callables_;
  Adapter& adapter_;
  std::shared_ptr<TaskQueue> tasks_;
  winrt::ComPtr<winrt::IWatcher> object_;
  EventRegistrationToken received_{};
  EventRegistrationToken stopped_{};
  std::uint64_t number_ = 0;  // Of the object.
  bool stopping_ = false;
  PacketMerger merger_;
};

}  // namespace plenar_ble
