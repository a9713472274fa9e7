#include "system/watcher.h"

#include <utility>

namespace plenar_ble {
namespace {

using winrt::BluetoothError;
using winrt::Check;
using winrt::SystemError;

}  // namespace

void SystemWatcher::Start(int scan_mode) {
  if (object_ && !stopping_) return;
  TakeDown();  // One whose end the system has not reported would be in the way for ever.
  try {
    StartObject(scan_mode);
  } catch (const SystemError& error) {
    callables_.LogFailure(error);
    TakeDown();
    callables_.stopped(ErrorOf(error));
  }
}

void SystemWatcher::Stop() {
  if (!object_) return callables_.stopped(BleError::kNone);
  if (std::exchange(stopping_, true)) return;
  callables_.Log(LogLevel::kInformation, "watcher stops");
  const HRESULT result = object_->Stop();
  if (SUCCEEDED(result)) return;
  const SystemError error{result, "BluetoothLEAdvertisementWatcher.Stop"};
  callables_.LogFailure(error);
  TakeDown();
  callables_.stopped(ErrorOf(error));
}

void SystemWatcher::TakeDown() {
  merger_ = {};
  stopping_ = false;
  const auto object = std::exchange(object_, {});
  if (!object) return;
  try {
    Check(object->remove_Received(received_), "BluetoothLEAdvertisementWatcher.Received");
    Check(object->remove_Stopped(stopped_), "BluetoothLEAdvertisementWatcher.Stopped");
    Check(object->Stop(), "BluetoothLEAdvertisementWatcher.Stop");
  } catch (const SystemError& error) {
    callables_.LogFailure(error);
  }
}

void SystemWatcher::StartObject(int scan_mode) {
  const auto object = winrt::Activate<winrt::IWatcher>(winrt::kWatcher);
  Check(object->put_ScanningMode(scan_mode == 0 ? winrt::ScanningMode::kPassive
                                                : winrt::ScanningMode::kActive),
        "BluetoothLEAdvertisementWatcher.ScanningMode");
  const auto newer = object.As<winrt::IWatcher2>();
  if (newer && adapter_.CanExtend()) {
    Check(newer->put_AllowExtendedAdvertisements(TRUE),
          "BluetoothLEAdvertisementWatcher.AllowExtendedAdvertisements");
  }
  const std::uint64_t number = ++number_;
  const auto received = MakeHandler<winrt::Received>(
      callables_, tasks_, [this, tasks = tasks_, number](winrt::IReceivedEventArgs& event) {
        tasks->Post([this, number, packet = ReadPacket(event)]() mutable {
          OnReceived(number, std::move(packet));
        });
      });
  const auto stopped = MakeHandler<winrt::WatcherStopped>(
      callables_, tasks_, [this, tasks = tasks_, number](winrt::IWatcherStoppedEventArgs& event) {
        BluetoothError error{};
        Check(event.get_Error(&error), "Stopped.Error");
        tasks->Post([=, this] { OnStopped(number, error); });
      });
  Check(object->add_Received(received.Get(), &received_),
        "BluetoothLEAdvertisementWatcher.Received");
  object_ = object;  // From here on a failure has something to take down.
  Check(object->add_Stopped(stopped.Get(), &stopped_), "BluetoothLEAdvertisementWatcher.Stopped");
  callables_.Log(LogLevel::kInformation, "watcher starts");
  Check(object->Start(), "BluetoothLEAdvertisementWatcher.Start");
}

void SystemWatcher::OnStopped(std::uint64_t object, BluetoothError error) {
  if (!object_ || object != number_) return;
  TakeDown();
  callables_.stopped(ErrorOf(error));
}

void SystemWatcher::OnReceived(std::uint64_t object, Packet packet) {
  if (!object_ || object != number_ || stopping_) return;
  callables_.received(merger_.Merge(std::move(packet)));
}

}  // namespace plenar_ble
