#include "virtual/watcher.h"

#include <array>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "air/datagram_socket.h"
#include "radio/library_thread.h"

namespace plenar_ble {

using plenar_ble_control::Air;

Result Watcher::Start() {
  if (!core_.initialised) return kNotInitialised;
  if (IsWatching()) return kAccepted;
  if (core_.air == Air::kLoopback && !listener_.joinable()) {
    const std::shared_ptr<DatagramSocket> socket = DatagramSocket::OpenToReceive();
    if (socket == nullptr) {
      core_.Log(LogLevel::kError, "the socket to listen on cannot be opened");
      return kRefusedBySystem;
    }
    listener_ = StartLibraryThread([this, socket] {
      // One byte more than is ever sent, so that what is too long shows.
      std::array<std::uint8_t, kMaxDatagramLength + 1> buffer;
      while (const auto length = socket->Receive(buffer)) {
        OnDatagram(ByteView(buffer).first(*length));
      }
    });
    receiver_ = socket;
  }
  watched_air_ = core_.air;
  if (watched_air_ == Air::kInProcess) {
    for (const auto& item : devices_) StartHearing(item.second);
  }
  core_.Log(LogLevel::kInformation, "watcher starts");
  return kAccepted;
}

void Watcher::Stop() {
  if (!core_.initialised) return;
  if (IsWatching()) core_.Log(LogLevel::kInformation, "watcher stops");
  Silence();
  if (!core_.delays) return;
  core_.scheduler.After(core_.delays->watcher_stopped, this, [this](RadioCore::Lock& lock) {
    lock.unlock();
    stopped(BleError::kNone);
  });
}

void Watcher::TakeDown(RadioCore::Lock& lock) {
  Silence();
  if (OnLibraryThread() || !listener_.joinable()) return;
  receiver_->Interrupt();
  receiver_.reset();  // The thread holds it as well.
  std::thread listener = std::move(listener_);
  lock.unlock();
  listener.join();
  lock.lock();
}

void Watcher::PutOnAir(const BleBroadcastInfo& info, std::uint64_t interval_ms) {
  DevicePtr& device = devices_[info.address];
  core_.scheduler.Cancel(device.get());
  device = std::make_shared<const Device>(Device{info, interval_ms});
  if (watched_air_ == Air::kInProcess) StartHearing(device);
}

void Watcher::StartHearing(const DevicePtr& device) {
  core_.scheduler.Every(device->interval_ms, device.get(), [this, device](RadioCore::Lock& lock) {
    lock.unlock();
    received(device->info);
  });
}

void Watcher::Silence() {
  watched_air_.reset();
  for (const auto& item : devices_) core_.scheduler.Cancel(item.second.get());
}

void Watcher::OnDatagram(ByteView bytes) try {
  const auto datagram = Decode(bytes);
  if (!datagram || datagram->process == OwnProcess()) return;
  {
    const std::scoped_lock lock(core_.mutex);
    if (watched_air_ != Air::kLoopback) return;
  }
  received(Heard(*datagram));
} catch (const std::bad_alloc&) {
  // One broadcast less.
}

}  // namespace plenar_ble
