#include "benchmarks/loaded_module.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <stdexcept>

#include <simulated_pc/simulated_pc.h>

#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace qvs_bench {
namespace {

namespace ble = quorvel_service::windows_ble;
using base::variant::Variant;

class ReportListener final : public quorvel_service::IServiceListener {
 public:
  void OnServiceEvent(std::uint64_t event, const std::shared_ptr<Variant>& payload) override {
    if (event == ble::event::kDeviceJson) size = payload->Get("device_json").AsStr().size();
  }
  std::size_t size = 0;
} listener;

template <class Function>
Function* Resolve(HMODULE library, const char* name) {
  const FARPROC function = GetProcAddress(library, name);
  if (function == nullptr) throw std::runtime_error(std::string("no export ") + name);
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(function));
}

HMODULE Load(const char* file) {
  const HMODULE library = LoadLibraryA(file);
  if (library == nullptr) throw std::runtime_error(std::string("cannot load ") + file);
  return library;
}

}  // namespace

LoadedModule& LoadedModule::Get() {
  static auto* const module = new LoadedModule;  // never unloaded: rows may come in any order
  return *module;
}

LoadedModule::LoadedModule() {
  // The gate looks in the program's folder.
  simulated_pc::SimulatedPc::Get().SetExecutablePath(QVS_CAPTURE_FOLDER "/host");
  const HMODULE module = Load(QVS_MODULE_PATH);
  service_ = Resolve<quorvel_service::QVCreateServiceFunction>(
      module, "QVCreateService")(ble::kServiceName);
  if (service_ == nullptr) throw std::runtime_error("no service");
  service_->AddListener(&listener);
  captured_ = Resolve<CapturedFunction>(Load("plenar_ble_api.dll"), kCapturedExport)();
  if (!captured_->received) throw std::runtime_error("the service is not up");
}

std::int32_t LoadedModule::Call(std::uint64_t method, const std::shared_ptr<Variant>& arguments) {
  return service_->Call(method, arguments)->Value()->Get("ret").AsInt32();
}

void LoadedModule::Scan(unsigned scan_mode, bool continuous) {
  const auto arguments = std::make_shared<Variant>();
  arguments->Set("start", Variant(true));
  arguments->Set("uuid", Variant(kUuid));
  arguments->Set("scan_mode", Variant(scan_mode));
  arguments->Set("continue_callback_enable", Variant(continuous));
  arguments->Set("broadcast_cb_interval", Variant(3'600'000u));
  if (Call(ble::method::kStartWatchBroadcast, arguments) != 0) {
    throw std::runtime_error("the scan does not start");
  }
  looper_.RunUntilIdle();
}

std::size_t LoadedModule::LastReportSize() const {
  return listener.size;
}

BleBroadcastInfo WatchedBroadcast(std::size_t device) {
  std::array<char, 18> address{};
  std::snprintf(address.data(), address.size(), "02:00:%02X:%02X:%02X:%02X",
                static_cast<unsigned>(device >> 24 & 0xFF),
                static_cast<unsigned>(device >> 16 & 0xFF),
                static_cast<unsigned>(device >> 8 & 0xFF), static_cast<unsigned>(device & 0xFF));
  BleBroadcastInfo info;
  info.address = address.data();
  info.local_name = "Meeting room 4.07";
  info.rssi = -61;
  info.service_uuids = {kUuid};
  info.manufacturer_data[0x7E51] = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12,
                                    0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 'r',  'o',
                                    'o',  'm',  ' ',  '4',  '.',  '0',  '7'};
  return info;
}

}  // namespace qvs_bench
