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

/// Hears the loopback air on a thread of its own for as long as it lives. Destroying it waits for
/// that thread, which must not be the caller's and may be waiting for the core's lock.
class Watcher::Listener {
 public:
  Listener(std::unique_ptr<DatagramReceiver> receiver, Watcher& watcher)
      : receiver_(std::move(receiver)), thread_(StartLibraryThread([this, &watcher] {
          // One byte more than is ever sent, so that what is too long shows.
          std::array<std::uint8_t, kMaxDatagramLength + 1> buffer;
          while (const auto length = receiver_->Receive(buffer)) {
            watcher.OnDatagram(ByteView(buffer).first(*length));
          }
        })) {}
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() {
    receiver_->Interrupt();
    thread_.join();
  }

 private:
  std::unique_ptr<DatagramReceiver> receiver_;
  std::thread thread_;
};

void Watcher::SetScanMode(int mode) {
  if (mode < 0 || mode > 2) {
    core_.Log(LogLevel::kError, "there is no scan mode " + std::to_string(mode));
    return;
  }
  scan_mode_ = mode;
}

Result Watcher::Start() {
  if (!core_.initialised) return kNotInitialised;
  if (IsWatching()) return kAccepted;
  if (core_.air == Air::kLoopback && listener_ == nullptr) {
    auto receiver = DatagramReceiver::Open();
    if (receiver == nullptr) {
      core_.Log(LogLevel::kError, "the socket to listen on cannot be opened");
      return kRefusedBySystem;
    }
    listener_ = std::make_shared<Listener>(std::move(receiver), *this);
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
  if (!core_.automatic_reports) return;
  core_.scheduler.After(core_.delays.watcher_stopped, this, [this](RadioCore::Lock& lock) {
    lock.unlock();
    stopped(BleError::kNone);
  });
}

void Watcher::TakeDown(RadioCore::Lock& lock) {
  Silence();
  scan_mode_ = 0;
  if (OnLibraryThread()) return;
  auto listener = std::move(listener_);
  lock.unlock();
  listener.reset();
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
