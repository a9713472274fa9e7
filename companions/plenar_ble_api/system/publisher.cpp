#include "system/publisher.h"

#include <string>
#include <utility>

namespace plenar_ble {
namespace {

using winrt::BluetoothError;
using winrt::Check;
using winrt::ComPtr;
using winrt::PublisherStatus;
using winrt::SystemError;

/// What a legacy advertisement holds, in bytes, and what the system may need of it for flags.
constexpr std::size_t kLegacyLength = 31;
constexpr std::size_t kFlagsLength = 3;
/// Of an item, beside its data: length, type and company.
constexpr std::size_t kItemHeaderLength = 4;

ComPtr<winrt::IPublisher> PublisherOf(const ManufacturerItem& item) {
  const auto bytes = winrt::Make<winrt::ByteBuffer>(item.data);
  ComPtr<winrt::IManufacturerData> data;
  Check(winrt::Factory<winrt::IManufacturerDataFactory>(winrt::kManufacturerData)
            ->Create(item.company, bytes.Get(), data.Out()),
        "BluetoothLEManufacturerData");
  const auto advertisement = winrt::Activate<winrt::IAdvertisement>(winrt::kAdvertisement);
  ComPtr<winrt::IVector<winrt::IManufacturerData>> items;
  Check(advertisement->get_ManufacturerData(items.Out()),
        "BluetoothLEAdvertisement.ManufacturerData");
  Check(items->Append(data.Get()), "BluetoothLEAdvertisement.ManufacturerData.Append");
  ComPtr<winrt::IPublisher> publisher;
  Check(winrt::Factory<winrt::IPublisherFactory>(winrt::kPublisher)
            ->Create(advertisement.Get(), publisher.Out()),
        "BluetoothLEAdvertisementPublisher");
  return publisher;
}

void UseExtendedAdvertisement(const ComPtr<winrt::IPublisher>& publisher) {
  constexpr const char* kCall = "BluetoothLEAdvertisementPublisher.UseExtendedAdvertisement";
  const auto newer = publisher.As<winrt::IPublisher2>();
  if (!newer) throw SystemError{E_NOINTERFACE, kCall};
  Check(newer->put_UseExtendedAdvertisement(TRUE), kCall);
}

}  // namespace

void SystemPublisher::Start(ManufacturerItem item) {
  TakeDown();
  item_ = std::move(item);
  forms_ = FormsFor(item_);
  if (forms_.empty()) {
    callables_.Log(LogLevel::kError,
                   "an item of " + std::to_string(kItemHeaderLength + item_.data.size()) +
                       " bytes needs extended advertising, which the adapter cannot do");
  }
  StartNextForm(ErrorOf(BluetoothError::kNotSupported));
}

void SystemPublisher::Stop() {
  forms_.clear();
  if (!object_) return callables_.ReportStatus(BlePublisherStatus::kStopped, BleError::kNone);
  callables_.Log(LogLevel::kInformation, "publisher stops");
  const HRESULT result = object_->Stop();
  if (SUCCEEDED(result)) return;
  const SystemError error{result, "BluetoothLEAdvertisementPublisher.Stop"};
  callables_.LogFailure(error);
  TakeDown();
  callables_.ReportStatus(BlePublisherStatus::kStopped, ErrorOf(error));
}

void SystemPublisher::TakeDown() {
  forms_.clear();
  Drop();
}

void SystemPublisher::Drop() {
  const auto object = std::exchange(object_, {});
  if (!object) return;
  try {
    Check(object->remove_StatusChanged(token_), "BluetoothLEAdvertisementPublisher.StatusChanged");
    Check(object->Stop(), "BluetoothLEAdvertisementPublisher.Stop");
  } catch (const SystemError& error) {
    callables_.LogFailure(error);
  }
}

/// Legacy advertisements are heard by every scanner, and so are tried first. Whether an item that
/// leaves no room for flags fits is the system's to say.
std::vector<SystemPublisher::Form> SystemPublisher::FormsFor(const ManufacturerItem& item) {
  const std::size_t length = kItemHeaderLength + item.data.size();
  std::vector<Form> forms;
  if (length + kFlagsLength > kLegacyLength && adapter_.CanExtend()) {
    forms.push_back(Form::kExtended);
  }
  if (length <= kLegacyLength) forms.push_back(Form::kLegacy);
  return forms;
}

/// Reports `error` when no form is left.
void SystemPublisher::StartNextForm(BleError error) {
  while (!forms_.empty()) {
    const Form form = forms_.back();
    forms_.pop_back();
    try {
      StartObject(form);
      return;
    } catch (const SystemError& failure) {
      callables_.LogFailure(failure);
      error = ErrorOf(failure);
      Drop();
    }
  }
  callables_.ReportStatus(BlePublisherStatus::kStopped, error);
}

void SystemPublisher::StartObject(Form form) {
  const auto object = PublisherOf(item_);
  if (form == Form::kExtended) UseExtendedAdvertisement(object);
  const auto handler = MakeHandler<winrt::PublisherStatusChanged>(
      callables_, tasks_,
      [this, tasks = tasks_, number = ++number_](winrt::IPublisherStatusChangedEventArgs& event) {
        PublisherStatus status{};
        BluetoothError error{};
        Check(event.get_Status(&status), "StatusChanged.Status");
        Check(event.get_Error(&error), "StatusChanged.Error");
        tasks->Post([=, this] { OnStatus(number, status, error); });
      });
  Check(object->add_StatusChanged(handler.Get(), &token_),
        "BluetoothLEAdvertisementPublisher.StatusChanged");
  object_ = object;  // From here on a failure has something to take down.
  callables_.Log(LogLevel::kInformation, form == Form::kExtended
                                             ? "publisher starts, with extended advertising"
                                             : "publisher starts");
  Check(object->Start(), "BluetoothLEAdvertisementPublisher.Start");
}

void SystemPublisher::OnStatus(std::uint64_t object, PublisherStatus status, BluetoothError error) {
  if (!object_ || object != number_) return;
  switch (status) {
    case PublisherStatus::kCreated:
      return;
    case PublisherStatus::kStarted:
      forms_.clear();
      break;
    case PublisherStatus::kAborted:
      // That the system gives no reason must not look like the end that a stop asks for.
      if (error == BluetoothError::kSuccess) error = BluetoothError::kOtherError;
      Drop();
      return StartNextForm(ErrorOf(error));
    case PublisherStatus::kStopped:
      TakeDown();
      break;
    default:
      break;
  }
  callables_.ReportStatus(static_cast<BlePublisherStatus>(status), ErrorOf(error));
}

}  // namespace plenar_ble
