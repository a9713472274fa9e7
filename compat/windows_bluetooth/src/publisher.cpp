#include <algorithm>

#include "classes.h"

namespace simulated_bluetooth {
namespace {

using winrt::BluetoothError;
using winrt::PublisherStatus;

constexpr std::size_t kLegacyLength = 31;
constexpr std::size_t kFlagsLength = 3;
constexpr DWORD kPollMs = 5;

class ManufacturerData final : public Object<winrt::IManufacturerData> {
 public:
  ManufacturerData(UINT16 company, IUnknown* data) : company_(company) {
    data->QueryInterface(winrt::IBuffer::kId, Place(data_));
  }
  HRESULT STDMETHODCALLTYPE get_CompanyId(UINT16* value) override { return Give(company_, value); }
  HRESULT STDMETHODCALLTYPE get_Data(winrt::IBuffer** value) override { return Give(data_, value); }

 private:
  UINT16 company_;
  ComPtr<winrt::IBuffer> data_;
};

class DataFactory final : public Object<IClassActivation, winrt::IManufacturerDataFactory> {
 public:
  HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Create(UINT16 company, winrt::IBuffer* data,
                                   winrt::IManufacturerData** item) override {
    return Give(Make<ManufacturerData>(company, data), item);
  }
};

class StatusChangedArgs final : public Object<winrt::IPublisherStatusChangedEventArgs> {
 public:
  StatusChangedArgs(PublisherStatus status, BluetoothError error)
      : status_(status), error_(error) {}
  HRESULT STDMETHODCALLTYPE get_Status(PublisherStatus* value) override {
    return Give(status_, value);
  }
  HRESULT STDMETHODCALLTYPE get_Error(BluetoothError* value) override {
    return Give(error_, value);
  }

 private:
  PublisherStatus status_;
  BluetoothError error_;
};

class Publisher final : public Runner<winrt::IPublisher, winrt::IPublisher2> {
 public:
  explicit Publisher(winrt::IAdvertisement* advertisement) {
    advertisement->get_ManufacturerData(items_.Out());
  }

  HRESULT STDMETHODCALLTYPE put_UseExtendedAdvertisement(boolean value) override {
    extended_ = value != 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE
  add_StatusChanged(winrt::TypedEventHandler<winrt::PublisherStatusChanged>* handler,
                    EventRegistrationToken* token) override {
    return status_changed_.Add(handler, token);
  }
  HRESULT STDMETHODCALLTYPE remove_StatusChanged(EventRegistrationToken token) override {
    return status_changed_.Remove(
        token, Make<StatusChangedArgs>(PublisherStatus::kStarted, BluetoothError::kSuccess));
  }

  HRESULT STDMETHODCALLTYPE Start() override {
    ReadItems();
    const std::size_t flags = Locked()->adds_flags ? kFlagsLength : 0;
    if (!extended_ && packet_.length + flags > kLegacyLength) return E_INVALIDARG;
    StartThread();
    return S_OK;
  }

 private:
  void ReadItems() {
    packet_ = {};
    UINT32 count = 0;
    items_->get_Size(&count);
    for (UINT32 i = 0; i < count; ++i) {
      ComPtr<winrt::IManufacturerData> item;
      items_->GetAt(i, item.Out());
      UINT16 company = 0;
      ComPtr<winrt::IBuffer> buffer;
      item->get_CompanyId(&company);
      item->get_Data(buffer.Out());
      const auto bytes = winrt::BytesOf(buffer);
      const std::uint8_t header[]{static_cast<std::uint8_t>(bytes.size() + 3), 0xFF,
                                  static_cast<std::uint8_t>(company & 0xFF),
                                  static_cast<std::uint8_t>(company >> 8)};
      const auto end = std::copy(std::begin(header), std::end(header), packet_.data.begin());
      std::copy(bytes.begin(), bytes.end(), end);
      packet_.length = static_cast<std::uint32_t>(std::size(header) + bytes.size());
    }
    packet_.process = GetCurrentProcessId();
    packet_.address = 0x020000000000 | packet_.process;
    packet_.rssi = -40;
    packet_.type =
        static_cast<std::int32_t>(extended_ ? winrt::AdvertisementType::kExtended
                                            : winrt::AdvertisementType::kNonConnectableUndirected);
  }

  void Run() override {
    Raise(PublisherStatus::kWaiting, BluetoothError::kSuccess);
    BluetoothError error = PutOnAir();
    if (error == BluetoothError::kSuccess) {
      Raise(PublisherStatus::kStarted, error);
      while (!IsStopping() && error == BluetoothError::kSuccess) {
        Sleep(kPollMs);
        error = WhatEndsIt();
      }
      TakeOffAir();
    }
    if (error != BluetoothError::kSuccess) return Raise(PublisherStatus::kAborted, error);
    Raise(PublisherStatus::kStopping, error);
    Raise(PublisherStatus::kStopped, error);
  }

  [[nodiscard]] BluetoothError WhatEndsIt() const {
    const Locked state;
    if (!state->adapter || !state->radio_on) return BluetoothError::kRadioNotAvailable;
    if (!state->access) return BluetoothError::kDisabledByUser;
    if (extended_ && !state->extended_advertising) return BluetoothError::kNotSupported;
    return BluetoothError{state->abort_error};
  }

  BluetoothError PutOnAir() {
    const BluetoothError error = WhatEndsIt();
    if (error != BluetoothError::kSuccess) return error;
    const Locked state;
    for (Packet& place : state->air) {
      if (place.rssi != 0) continue;
      place = packet_;
      place_ = &place;
      return BluetoothError::kSuccess;
    }
    return BluetoothError::kResourceInUse;
  }
  void TakeOffAir() {
    const Locked state;
    *place_ = {};
  }

  void Raise(PublisherStatus status, BluetoothError error) {
    status_changed_.Raise(Make<StatusChangedArgs>(status, error));
  }

  ComPtr<winrt::IVector<winrt::IManufacturerData>> items_;
  Handlers<winrt::PublisherStatusChanged> status_changed_;
  Packet packet_;
  Packet* place_ = nullptr;
  bool extended_ = false;
};

class Factory final : public Object<IClassActivation, winrt::IPublisherFactory> {
 public:
  HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Create(winrt::IAdvertisement* advertisement,
                                   winrt::IPublisher** publisher) override {
    return Give(Make<Publisher>(advertisement), publisher);
  }
};

}  // namespace

ComPtr<IClassActivation> AdvertisementFactory() {
  return Make<PlainFactory<Advertisement>>().As<IClassActivation>();
}

ComPtr<IClassActivation> ManufacturerDataFactory() {
  return Make<DataFactory>().As<IClassActivation>();
}

ComPtr<IClassActivation> PublisherFactory() {
  return Make<Factory>().As<IClassActivation>();
}

}  // namespace simulated_bluetooth
