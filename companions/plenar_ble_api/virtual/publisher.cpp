#include "virtual/publisher.h"

#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

namespace plenar_ble {
namespace {

constexpr std::uint64_t kAdvertisingIntervalMs = 100;

}  // namespace

void Publisher::SetManufacturerData(std::uint16_t company, ByteView data) {
  data_ = {company, Bytes(data.begin(), data.end())};
}

Result Publisher::Start() {
  if (!core_.initialised) return kNotInitialised;
  if (!data_) return kNoData;
  std::unique_ptr<DatagramSocket> sender;
  if (core_.air == plenar_ble_control::Air::kLoopback) {
    sender = DatagramSocket::OpenToSend();
    if (sender == nullptr) {
      core_.Log(LogLevel::kError, "the socket to advertise through cannot be opened");
      return kRefusedBySystem;
    }
  }
  core_.scheduler.Start();
  Silence();
  on_air_ = data_;
  sender_ = std::move(sender);
  if (sender_ != nullptr) StartSending();
  core_.Log(LogLevel::kInformation, "publisher starts");
  status_ = BlePublisherStatus::kStarted;
  if (core_.delays) {
    status_ = BlePublisherStatus::kStarting;
    ReportAfter(core_.delays->starting, BlePublisherStatus::kStarting);
    ReportAfter(core_.delays->starting + core_.delays->started, BlePublisherStatus::kStarted);
  }
  return kAccepted;
}

void Publisher::Stop() {
  if (!core_.initialised || status_ == BlePublisherStatus::kStopping) return;
  const bool runs = status_ != BlePublisherStatus::kStopped;
  if (runs) core_.Log(LogLevel::kInformation, "publisher stops");
  Silence();
  if (!core_.delays) return;
  if (runs) {
    status_ = BlePublisherStatus::kStopping;
    ReportAfter(core_.delays->stopping, BlePublisherStatus::kStopping);
  }
  ReportAfter(core_.delays->stopping + core_.delays->stopped, BlePublisherStatus::kStopped);
}

bool Publisher::TakeDown() {
  const bool ran = status_ != BlePublisherStatus::kStopped;
  Silence();
  data_.reset();
  return ran && core_.delays.has_value();
}

void Publisher::Silence() {
  core_.scheduler.Cancel(this);
  core_.scheduler.Cancel(&sender_);
  sender_.reset();
  on_air_.reset();
  status_ = BlePublisherStatus::kStopped;
}

void Publisher::StartSending() {
  core_.scheduler.Every(kAdvertisingIntervalMs, &sender_,
                        [this, datagram = Encode({OwnProcess(), on_air_->company, on_air_->data}),
                         failed = false](RadioCore::Lock&) mutable {
                          if (sender_->Send(datagram) || std::exchange(failed, true)) return;
                          core_.Log(LogLevel::kError, "the advertisement cannot be sent");
                        });
}

void Publisher::ReportAfter(std::uint64_t delay, BlePublisherStatus status) {
  core_.scheduler.After(delay, this, [this, status](RadioCore::Lock& lock) {
    status_ = status;
    lock.unlock();
    status_changed(status, BleError::kNone);
  });
}

}  // namespace plenar_ble
