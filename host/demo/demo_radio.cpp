#include "host/demo/demo_radio.h"

#include <iomanip>
#include <sstream>

#include "host/byte_text.h"

namespace qvs_host {
namespace {

constexpr std::size_t kUuidSize = 16;

/// As a radio takes its time, so that the order of things shows.
constexpr plenar_ble_control::ReportDelays kDelays = {
    .starting = 5, .started = 40, .stopping = 5, .stopped = 60, .watcher_stopped = 30};

}  // namespace

DemoRadio::DemoRadio(plenar_ble_control::VirtualRadio& radio, base::time::SimulatedTime& time)
    : radio_(radio), time_(time) {
  radio_.UseManualTime(time_.SteadyMilliseconds());
  radio_.SetAir(plenar_ble_control::Air::kInProcess);
  radio_.SetReportDelays(kDelays);
  time_.AddParticipant(*this);
}

DemoRadio::~DemoRadio() {
  time_.RemoveParticipant(*this);
  radio_.Reset();
}

void DemoRadio::SetAdapterAvailable(bool available) {
  const BleError error = available ? BleError::kNone : BleError::kAdapterTemporarilyUnavailable;
  radio_.SetResult("BleCheckState", static_cast<std::int32_t>(error));
}

void DemoRadio::PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) {
  radio_.PutOnAir(device, interval_ms);
}

std::string DemoRadio::DescribeSending() const {
  const auto advertisement = radio_.Advertising();
  if (!advertisement) return "silent";
  const std::string data(advertisement->data.begin(), advertisement->data.end());
  std::ostringstream text;
  text << "sends company 0x" << std::hex << std::uppercase << advertisement->company << ", UUID "
       << BytesToHex(data.substr(0, kUuidSize)) << ", data "
       << ReadableBytes(data.substr(kUuidSize));
  return text.str();
}

std::optional<std::uint64_t> DemoRadio::NextDeadline() {
  return radio_.NextDeadline();
}

std::size_t DemoRadio::AdvanceTo(std::uint64_t now_ms) {
  return radio_.AdvanceTo(now_ms);
}

}  // namespace qvs_host
