#include "host/play/stage.h"

#include <sstream>
#include <string>

#include <plenar_base_control/simulated_time.h>
#include <plenar_ble_control/virtual_radio.h>
#include <qvs_windows_ble/client.h>

#include "host/describe.h"
#include "host/output.h"

namespace qvs_host {
namespace {

/// As a radio takes its time, so that the order of things shows.
constexpr plenar_ble_control::ReportDelays kDelays = {
    .starting = 5, .started = 40, .stopping = 5, .stopped = 60, .watcher_stopped = 30};

constexpr std::size_t kUuidSize = 16;

std::string WithNumber(ble::Result code, std::string_view meaning) {
  return std::to_string(static_cast<int>(code)) + ", " + std::string(meaning);
}

}  // namespace

Stage::Stage(base::time::SimulatedTime& time, TimeLine& line)
    : time_(time),
      line_(line),
      radio_(*radio_library_.Resolve<plenar_ble_control::PlenarBleControlFunction>(
          plenar_ble_control::kControlExport)()) {
  radio_.SelectRadio(plenar_ble_control::RadioKind::kVirtual);
  radio_.UseManualTime(time_.SteadyMilliseconds());
  radio_.SetAir(plenar_ble_control::Air::kInProcess);
  radio_.SetReportDelays(kDelays);
  time_.SetParticipant(this);
}

Stage::~Stage() {
  client_.reset();
  time_.SetParticipant(nullptr);
  radio_.Reset();
}

void Stage::LetTimePassUntil(std::uint64_t time_ms) {
  time_.RunFor(looper_, time_ms - time_.SteadyMilliseconds());
  time_.Settle(looper_);  // tells the radio the time, when nothing was due at the end
}

void Stage::CreateHost() {
  client_.emplace(looper_);
  client_->on_state = [this](ble::Result state) { NoteState("event", state); };
  client_->on_status = [this](const ble::PublisherStatus& status) {
    line_.Note("event", "status_info " + std::to_string(status.status) + ", " + Describe(status));
  };
  client_->on_retry = [this](const ble::RetryReport& report) {
    line_.Note("event", "retry_info " + Describe(report));
  };
  client_->on_devices = [this](const std::vector<ble::Device>& devices) { NoteDevices(devices); };
}

ble::Client& Stage::Host() {
  if (!client_) throw HostError("there is no host: it has to be created first");
  return *client_;
}

void Stage::NoteResult(ble::Result result) {
  line_.Note("result", WithNumber(result, Meaning(result)));
}

void Stage::NoteState(std::string_view kind, ble::Result state) {
  const std::string_view what = kind == "event" ? "state " : "";
  line_.Note(kind, std::string(what) + WithNumber(state, StateMeaning(state)));
}

void Stage::NoteDevices(const std::vector<ble::Device>& devices) {
  line_.Note("event", "device_json " + std::to_string(devices.size()) + " devices");
  for (const ble::Device& device : devices) line_.Note("device", Describe(device));
}

void Stage::ShowSending() {
  const auto advertisement = radio_.Advertising();
  if (!advertisement) return line_.Note("radio", "sends nothing");
  std::ostringstream text;
  text << "sends company 0x" << std::hex << std::uppercase << advertisement->company << ", UUID ";
  const std::string bytes(advertisement->data.begin(), advertisement->data.end());
  text << BytesToHex(bytes.substr(0, kUuidSize)) << ", data "
       << BytesOrText(bytes.substr(kUuidSize));
  line_.Note("radio", text.str());
}

}  // namespace qvs_host
