#include "virtual/watcher.h"

#include <utility>

namespace plenar_ble {

void Watcher::SetScanMode(int mode) {
  if (mode < 0 || mode > 2) {
    core_.Log(LogLevel::kError, "there is no scan mode " + std::to_string(mode));
    return;
  }
  scan_mode_ = mode;
}

Result Watcher::Start() {
  if (!core_.initialised) return kNotInitialised;
  if (watching_) return kAccepted;
  if (core_.air == plenar_ble_control::Air::kLoopback && !StartListening()) return kRefusedBySystem;
  watching_ = true;
  core_.Log(LogLevel::kInformation, "watcher starts");
  if (HearsInProcessAir()) {
    for (const auto& item : devices_) StartHearing(item.second);
  }
  return kAccepted;
}

void Watcher::Stop() {
  if (!core_.initialised) return;
  if (watching_) core_.Log(LogLevel::kInformation, "watcher stops");
  Silence();
  if (!core_.reports.automatic) return;
  core_.scheduler.After(core_.reports.delays.watcher_stopped, this, [this](RadioCore::Lock& lock) {
    lock.unlock();
    stopped(BleError::kNone);
  });
}

void Watcher::TakeDown() {
  Silence();
  scan_mode_ = 0;
}

void Watcher::PutOnAir(BleBroadcastInfo info, std::uint64_t interval_ms) {
  TakeOffAir(info.address);
  auto device = std::make_shared<const Device>(Device{std::move(info), interval_ms});
  devices_.emplace(device->info.address, device);
  if (HearsInProcessAir()) StartHearing(device);
}

void Watcher::TakeOffAir(const std::string& address) {
  const auto item = devices_.find(address);
  if (item == devices_.end()) return;
  core_.scheduler.Cancel(item->second.get());
  devices_.erase(item);
}

void Watcher::ClearAir() {
  while (!devices_.empty()) TakeOffAir(std::string(devices_.begin()->first));
}

bool Watcher::StartListening() {
  auto receiver = DatagramReceiver::Open();
  if (receiver == nullptr) {
    core_.Log(LogLevel::kError, "the socket to listen on cannot be opened");
    return false;
  }
  listener_ = std::make_shared<LoopbackListener>(
      std::move(receiver),
      [this, own = OwnAddress()](ByteView datagram) { OnDatagram(datagram, own); });
  return true;
}

void Watcher::StartHearing(const DevicePtr& device) {
  core_.scheduler.Every(device->interval_ms, device.get(), [this, device](RadioCore::Lock& lock) {
    lock.unlock();
    received(device->info);
  });
}

void Watcher::Silence() {
  watching_ = false;
  for (const auto& item : devices_) core_.scheduler.Cancel(item.second.get());
  if (listener_ == nullptr) return;
  // Its thread may be the caller, so another one has to wait for it.
  listener_->Interrupt();
  core_.scheduler.Post([listener = std::exchange(listener_, nullptr)] {});
}

void Watcher::OnDatagram(ByteView datagram, const Address& own_address) {
  const auto sender = SenderOf(datagram);
  if (!sender || *sender == own_address) return;
  const auto info = DecodeDatagram(datagram);
  if (!info) return;
  {
    const std::scoped_lock lock(core_.mutex);
    if (!watching_) return;
  }
  received(*info);
}

}  // namespace plenar_ble
