#include "virtual/publisher.h"

#include <string>
#include <utility>

#include "air/datagram.h"

namespace plenar_ble {
namespace {

constexpr std::uint64_t kAdvertisingIntervalMs = 100;

}  // namespace

Result Publisher::SetManufacturerData(std::uint16_t company, ByteView data) {
  if (data.size() > kMaxManufacturerDataLength) return kInvalidArgument;
  manufacturer_data_ = {company, Bytes(data.begin(), data.end())};
  return kAccepted;
}

Result Publisher::Start() {
  if (!core_.initialised) return kNotInitialised;
  if (status_ != BlePublisherStatus::kStopped) return kBusy;
  if (!manufacturer_data_) return kNoData;
  const Bytes data = AdvertisingData();
  if (data.size() > kMaxAdvertisingDataLength) return kInvalidArgument;
  if (core_.air == plenar_ble_control::Air::kLoopback && !StartSending(data))
    return kRefusedBySystem;
  on_air_ = manufacturer_data_;
  status_ = BlePublisherStatus::kStarted;
  core_.Log(LogLevel::kInformation, "publisher starts");
  core_.scheduler.Cancel(this);  // The answer to a stop of nothing is out of date.
  if (core_.reports.automatic) {
    const auto& delays = core_.reports.delays;
    status_ = BlePublisherStatus::kStarting;
    ReportAfter(delays.starting, BlePublisherStatus::kStarting);
    ReportAfter(delays.starting + delays.started, BlePublisherStatus::kStarted);
  }
  return kAccepted;
}

void Publisher::Stop() {
  if (!core_.initialised || status_ == BlePublisherStatus::kStopping) return;
  const bool runs = status_ != BlePublisherStatus::kStopped;
  if (runs) core_.Log(LogLevel::kInformation, "publisher stops");
  Silence();
  if (!core_.reports.automatic) return;
  const auto& delays = core_.reports.delays;
  if (runs) {
    status_ = BlePublisherStatus::kStopping;
    ReportAfter(delays.stopping, BlePublisherStatus::kStopping);
  }
  ReportAfter(delays.stopping + delays.stopped, BlePublisherStatus::kStopped);
}

void Publisher::TakeDown() {
  Silence();
  manufacturer_data_.reset();
}

void Publisher::Silence() {
  core_.scheduler.Cancel(this);
  core_.scheduler.Cancel(&sender_);
  sender_.reset();
  on_air_.reset();
  status_ = BlePublisherStatus::kStopped;
}

Bytes Publisher::AdvertisingData() const {
  Bytes data;
  const std::string name = OwnLocalName();
  AppendSection(static_cast<std::uint8_t>(SectionType::kCompleteLocalName),
                Bytes(name.begin(), name.end()), data);
  AppendManufacturerData(manufacturer_data_->company, manufacturer_data_->data, data);
  return data;
}

bool Publisher::StartSending(ByteView advertising_data) {
  sender_ = DatagramSender::Open();
  if (sender_ == nullptr) {
    core_.Log(LogLevel::kError, "the socket to advertise through cannot be opened");
    return false;
  }
  core_.scheduler.Every(kAdvertisingIntervalMs, &sender_,
                        [this, datagram = EncodeDatagram(OwnAddress(), advertising_data),
                         failed = false](RadioCore::Lock&) mutable {
                          if (sender_->Send(datagram) || std::exchange(failed, true)) return;
                          core_.Log(LogLevel::kError, "the advertisement cannot be sent");
                        });
  return true;
}

void Publisher::ReportAfter(std::uint64_t delay, BlePublisherStatus status) {
  core_.scheduler.After(delay, this, [this, status](RadioCore::Lock& lock) {
    status_ = status;
    lock.unlock();
    status_changed(status, BleError::kNone);
  });
}

}  // namespace plenar_ble
