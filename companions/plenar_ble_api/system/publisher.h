#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <plenar_ble_api/ble_api.h>

#include "system/adapter.h"
#include "system/report.h"
#include "system/task_queue.h"

namespace plenar_ble {

/// What is advertised: one item of manufacturer data.
struct ManufacturerItem {
  std::uint16_t company = 0;
  std::vector<std::uint8_t> data;
};

/// The advertisement publisher, over an object of the system's for every start. All operations are
/// for the radio's task thread, where it also reports.
///
/// The system's statuses 1 to 4 are passed on as they are, "aborted" as stopped with its error.
/// What a former object still says is nobody's any more.
class SystemPublisher {
 public:
  SystemPublisher(Callables& callables, Adapter& adapter, std::shared_ptr<TaskQueue> tasks)
      : callables_(callables), adapter_(adapter), tasks_(std::move(tasks)) {}

  /// In place of what is advertised. Failures are reported as stopped.
  void Start(ManufacturerItem item);
  /// Reports stopped at once when nothing runs.
  void Stop();
  /// Stops without waiting for the system's reports, and without one of its own.
  void TakeDown();

 private:
  /// The forms in which an item can be sent.
  enum class Form { kLegacy, kExtended };

  [[nodiscard]] std::vector<Form> FormsFor(const ManufacturerItem& item);
  void StartNextForm(BleError error);
  void StartObject(Form form);
  void Drop();
  void OnStatus(std::uint64_t object, winrt::PublisherStatus status, winrt::BluetoothError error);

  Callables& callables_;
  Adapter& adapter_;
  std::shared_ptr<TaskQueue> tasks_;
  ManufacturerItem item_;
  std::vector<Form> forms_;  // Left to be tried, the next one last.
  winrt::ComPtr<winrt::IPublisher> object_;
  EventRegistrationToken token_{};
  std::uint64_t number_ = 0;  // Of the object.
};

}  // namespace plenar_ble
