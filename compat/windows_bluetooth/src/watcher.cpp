#include "classes.h"

namespace simulated_bluetooth {
namespace {

using winrt::BluetoothError;

constexpr DWORD kIntervalMs = 5;

class DataSection final : public Object<winrt::IDataSection> {
 public:
  DataSection(BYTE type, std::span<const std::uint8_t> data)
      : type_(type), data_(Make<winrt::ByteBuffer>(data).As<winrt::IBuffer>()) {}
  HRESULT STDMETHODCALLTYPE get_DataType(BYTE* value) override { return Give(type_, value); }
  HRESULT STDMETHODCALLTYPE get_Data(winrt::IBuffer** value) override { return Give(data_, value); }

 private:
  BYTE type_;
  ComPtr<winrt::IBuffer> data_;
};

class ReceivedArgs final : public Object<winrt::IReceivedEventArgs, winrt::IReceivedEventArgs2> {
 public:
  explicit ReceivedArgs(const Packet& packet) : packet_(packet) {
    std::span<const std::uint8_t> rest(packet.data.data(), packet.length);
    while (!rest.empty()) {
      const auto section = Make<DataSection>(rest[1], rest.subspan(2, rest[0] - 1u));
      advertisement_->data_sections->Append(section.Get());
      rest = rest.subspan(rest[0] + 1u);
    }
  }
  HRESULT STDMETHODCALLTYPE get_RawSignalStrengthInDBm(INT16* value) override {
    return Give(packet_.rssi, value);
  }
  HRESULT STDMETHODCALLTYPE get_BluetoothAddress(UINT64* value) override {
    return Give(packet_.address, value);
  }
  HRESULT STDMETHODCALLTYPE get_AdvertisementType(winrt::AdvertisementType* value) override {
    return Give(winrt::AdvertisementType{packet_.type}, value);
  }
  HRESULT STDMETHODCALLTYPE get_Advertisement(winrt::IAdvertisement** value) override {
    return Give(advertisement_, value);
  }
  HRESULT STDMETHODCALLTYPE get_IsConnectable(boolean* value) override {
    return Give(packet_.type <= static_cast<int>(winrt::AdvertisementType::kConnectableDirected),
                value);
  }
  HRESULT STDMETHODCALLTYPE get_IsScanResponse(boolean* value) override {
    return Give(packet_.type == static_cast<int>(winrt::AdvertisementType::kScanResponse), value);
  }

 private:
  const Packet packet_;
  const ComPtr<Advertisement> advertisement_ = Make<Advertisement>();
};

class StoppedArgs final : public Object<winrt::IWatcherStoppedEventArgs> {
 public:
  explicit StoppedArgs(BluetoothError error) : error_(error) {}
  HRESULT STDMETHODCALLTYPE get_Error(BluetoothError* value) override {
    return Give(error_, value);
  }

 private:
  BluetoothError error_;
};

class Watcher final : public Runner<winrt::IWatcher, winrt::IWatcher2> {
 public:
  HRESULT STDMETHODCALLTYPE put_ScanningMode(winrt::ScanningMode value) override {
    active_ = value == winrt::ScanningMode::kActive;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_AllowExtendedAdvertisements(boolean value) override {
    extended_ = value != 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE add_Received(winrt::TypedEventHandler<winrt::Received>* handler,
                                         EventRegistrationToken* token) override {
    return received_.Add(handler, token);
  }
  HRESULT STDMETHODCALLTYPE remove_Received(EventRegistrationToken token) override {
    Packet packet;
    packet.rssi = -1;
    return received_.Remove(token, Make<ReceivedArgs>(packet));
  }
  HRESULT STDMETHODCALLTYPE add_Stopped(winrt::TypedEventHandler<winrt::WatcherStopped>* handler,
                                        EventRegistrationToken* token) override {
    return stopped_.Add(handler, token);
  }
  HRESULT STDMETHODCALLTYPE remove_Stopped(EventRegistrationToken token) override {
    return stopped_.Remove(token, Make<StoppedArgs>(BluetoothError::kOtherError));
  }

  HRESULT STDMETHODCALLTYPE Start() override {
    const int threads = Locked()->receivers;
    running_ = threads;
    for (int i = 0; i < threads; ++i) StartThread();
    return S_OK;
  }

 private:
  void Run() override {
    BluetoothError error = BluetoothError::kSuccess;
    while (!IsStopping() && error == BluetoothError::kSuccess) {
      for (const Packet& packet : Heard()) received_.Raise(Make<ReceivedArgs>(packet));
      Sleep(kIntervalMs);
      const Locked state;
      if (!state->adapter || !state->radio_on) error = BluetoothError::kRadioNotAvailable;
      if (!state->access) error = BluetoothError::kDisabledByUser;
    }
    if (--running_ == 0) stopped_.Raise(Make<StoppedArgs>(error));
  }

  [[nodiscard]] std::vector<Packet> Heard() const {
    const Locked state;
    std::vector<Packet> heard;
    for (const Packet& packet : state->air) {
      const auto type = winrt::AdvertisementType{packet.type};
      if (packet.rssi == 0 || packet.process == GetCurrentProcessId() ||
          (type == winrt::AdvertisementType::kScanResponse && !active_) ||
          (type == winrt::AdvertisementType::kExtended && !extended_)) {
        continue;
      }
      heard.push_back(packet);
    }
    return heard;
  }

  Handlers<winrt::Received> received_;
  Handlers<winrt::WatcherStopped> stopped_;
  bool active_ = false;
  bool extended_ = false;
  std::atomic<int> running_ = 0;
};

}  // namespace

ComPtr<IClassActivation> WatcherFactory() {
  return Make<PlainFactory<Watcher>>().As<IClassActivation>();
}

}  // namespace simulated_bluetooth
