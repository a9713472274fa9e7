#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include <plenar_ble_api/ble_api.h>

#include "radio/callable_slot.h"
#include "radio/radio.h"
#include "system/com.h"
#include "system/task_queue.h"

namespace plenar_ble {

/// What the user gave the radio to be called.
struct Callables {
  CallableSlot<const char*, int, const char*, int, const char*> log;
  CallableSlot<const BleBroadcastInfo&> received;
  CallableSlot<BleError> stopped;
  CallableSlot<BlePublisherStatus, BleError> status_changed;

  /// Whether a start was accepted whose end has not been reported.
  std::atomic<bool> owes_stopped = false;

  /// Hands a line to the log callable. [library thread]
  void Log(LogLevel level, const std::string& message, const char* file = __builtin_FILE(),
           int line = __builtin_LINE(), const char* function = __builtin_FUNCTION());
  /// The same of a call that failed, with its number.
  void LogFailure(const winrt::SystemError& error, const char* file = __builtin_FILE(),
                  int line = __builtin_LINE(), const char* function = __builtin_FUNCTION());
  void ReportStatus(BlePublisherStatus status, BleError error);
};

/// How the system's errors are reported: 100 and the system's number; 102 is "in use".
[[nodiscard]] BleError ErrorOf(winrt::BluetoothError error);
/// The same of a call that failed.
[[nodiscard]] BleError ErrorOf(const winrt::SystemError& error);

/// A handler for an event of the system's, on the thread on which it comes. That `read` fails is
/// logged on the task thread.
template <class Event, class Read>
winrt::ComPtr<winrt::Handler<Event>> MakeHandler(Callables& callables,
                                                 std::shared_ptr<TaskQueue> tasks, Read read) {
  return winrt::Make<winrt::Handler<Event>>(
      [&callables, tasks = std::move(tasks), read](typename Event::Arguments& arguments) {
        try {
          read(arguments);
          return S_OK;
        } catch (const winrt::SystemError& error) {
          tasks->Post([&callables, error] { callables.LogFailure(error); });
          return error.number;
        }
      });
}

}  // namespace plenar_ble
