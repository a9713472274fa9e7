#include "host/demo/stage.h"

#include "host/byte_text.h"
#include "host/device_record.h"
#include "host/result_text.h"
#include "host/service_names.h"

namespace qvs_host {
namespace {

using base::variant::Variant;

constexpr std::uint64_t kReportIntervalMs = 500;

std::string Describe(const Variant& value) {
  switch (value.GetType()) {
    case Variant::Type::kBoolean:
      return value.AsBoolean() ? "true" : "false";
    case Variant::Type::kString:
      return ReadableBytes(value.AsStr());
    default:
      return std::to_string(value.AsInt64());
  }
}

std::string DescribeCall(std::uint64_t method, const Variant& arguments) {
  std::string text(NameOf(kMethodNames, method));
  for (const std::string& key : arguments.Keys()) {
    text += ' ' + key + '=' + Describe(arguments.Get(key));
  }
  return text;
}

plenar_ble_control::VirtualRadio& RadioOf(const Library& library) {
  return *library.Resolve<plenar_ble_control::PlenarBleControlFunction>(
      plenar_ble_control::kControlExport)();
}

}  // namespace

Stage::Stage(base::time::SimulatedTime& time, TimeLine& line, DemoPc* pc)
    : time_(time),
      line_(line),
      pc_(pc),
      radio_library_("plenar_ble_api.dll"),
      module_(looper_),
      radio_(RadioOf(radio_library_), time) {}

void Stage::LetTimePass(std::uint64_t milliseconds) {
  time_.RunFor(looper_, milliseconds);
  time_.Settle(looper_);  // tells the radio the time, when nothing was due at the end
}

void Stage::CreateService() {
  line_.Note(Kind::kCall, std::string("QVCreateService ") + ble::kServiceName);
  service_.emplace(module_,
                   [this](std::uint64_t event, const Variant& value) { OnEvent(event, value); });
  line_.Note(Kind::kResult, "a service");
}

void Stage::DestroyService() {
  line_.Note(Kind::kCall, "QVDestroyService");
  service_.reset();
}

void Stage::Init(int retry_time) {
  Variant arguments;
  arguments.Set("retry_time", Variant(retry_time));
  Call(ble::method::kInit, arguments);
}

void Stage::UnInit() {
  Call(ble::method::kUnInit);
}

void Stage::CheckState(bool need_discoverable) {
  Variant arguments;
  arguments.Set("need_check_discoverable", Variant(need_discoverable));
  Call(ble::method::kCheckBleState, arguments);
}

void Stage::StartAdvertising(const std::string& custom_data) {
  Variant arguments;
  arguments.Set("start", Variant(true));
  arguments.Set("uuid", Variant(kDemoUuid));
  arguments.Set("custom_data", Variant(custom_data));
  Call(ble::method::kStartBroadcast, arguments);
}

void Stage::StopAdvertising() {
  Variant arguments;
  arguments.Set("start", Variant(false));
  Call(ble::method::kStartBroadcast, arguments);
}

void Stage::StartScanning(unsigned mode, bool continuous) {
  Variant arguments;
  arguments.Set("start", Variant(true));
  arguments.Set("uuid", Variant(kDemoUuid));
  arguments.Set("scan_mode", Variant(mode));
  arguments.Set("continue_callback_enable", Variant(continuous));
  arguments.Set("broadcast_cb_interval", Variant(kReportIntervalMs));
  Call(ble::method::kStartWatchBroadcast, arguments);
}

void Stage::StopScanning() {
  Variant arguments;
  arguments.Set("start", Variant(false));
  arguments.Set("uuid", Variant(kDemoUuid));
  Call(ble::method::kStartWatchBroadcast, arguments);
}

void Stage::AskForDevices() {
  Call(ble::method::kGetBleScanCache);
}

void Stage::SetAdapterAvailable(bool available) {
  line_.Note(Kind::kRadio, available ? "the adapter is available" : "the adapter is not available");
  radio_.SetAdapterAvailable(available);
}

void Stage::ShowSending() {
  line_.Note(Kind::kRadio, radio_.DescribeSending());
}

void Stage::PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) {
  line_.Note(Kind::kRadio, device.address + ' ' + ReadableBytes(device.local_name) +
                               " comes near, broadcasts every " + std::to_string(interval_ms) +
                               " ms");
  radio_.PutOnAir(device, interval_ms);
}

void Stage::SetRadioOn(bool on) {
  line_.Note(Kind::kPc, on ? "Bluetooth is turned on" : "Bluetooth is turned off");
  pc_->SetRadioOn(on);
}

void Stage::SetDiscoverable(bool discoverable) {
  line_.Note(Kind::kPc, discoverable ? "the radio is made discoverable"
                                     : "the radio is made not discoverable");
  pc_->SetDiscoverable(discoverable);
}

void Stage::Call(std::uint64_t method, const Variant& arguments) {
  line_.Note(Kind::kCall, DescribeCall(method, arguments));
  const std::int32_t code = service_->Call(method, arguments);
  line_.Note(Kind::kResult,
             std::to_string(code) + ", " +
                 (method == ble::method::kCheckBleState ? StateText(code) : ResultText(code)));
}

void Stage::OnEvent(std::uint64_t event, const Variant& value) {
  const std::string name(NameOf(kEventNames, event));
  if (event == ble::event::kDeviceJson) {
    OnDevices(value.AsStr());
  } else if (event == ble::event::kState) {
    line_.Note(Kind::kEvent,
               name + ' ' + std::to_string(value.AsInt32()) + ", " + StateText(value.AsInt32()));
  } else {
    line_.Note(Kind::kEvent, name + ' ' + CompactJson(value.AsStr()));
  }
}

void Stage::OnDevices(const std::string& device_json) {
  const auto devices = ParseDevices(device_json);
  line_.Note(Kind::kEvent, "device_json, " + std::to_string(devices.size()) + " devices");
  const std::string uuid_bytes = UuidToBytes(kDemoUuid).value();
  for (const DeviceRecord& device : devices) {
    line_.Note(Kind::kDevice, DescribeDevice(device, uuid_bytes));
  }
}

}  // namespace qvs_host
