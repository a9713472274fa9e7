#include "radio/call_script.h"

#include <algorithm>
#include <stdexcept>

namespace plenar_ble {
namespace {

struct FunctionInfo {
  std::string_view name;
  bool has_result;
};

constexpr std::array<FunctionInfo, static_cast<std::size_t>(Function::kCount)> kFunctions{{
    {"BleInit", true},
    {"BleUnInit", false},
    {"BleSetLogFunc", false},
    {"BleCheckState", true},
    {"BleClientSetScanMode", false},
    {"BleClientSetServiceUuidFilter", false},
    {"BleClientSetManufacturerDataFilter", false},
    {"BleClientSetSignalStrengthFilter", false},
    {"BleClientSetReceivedBroadcastCB", false},
    {"BleClientSetStoppedWatchBroadcastCB", false},
    {"BleClientStartWatchBroadcast", true},
    {"BleClientStopWatchBroadcast", false},
    {"BleServerAddManufacturerData", true},
    {"BleServerAddDataSection", true},
    {"BleServerSetStatusChangedCB", false},
    {"BleServerStartBroadcast", true},
    {"BleServerStopBroadcast", false},
}};

std::size_t IndexOf(std::string_view name) {
  const auto found = std::find_if(kFunctions.begin(), kFunctions.end(),
                                  [&](const FunctionInfo& info) { return info.name == name; });
  if (found == kFunctions.end()) {
    throw std::invalid_argument("no function of the BLE API library: " + std::string(name));
  }
  return static_cast<std::size_t>(found - kFunctions.begin());
}

}  // namespace

void CallScript::SetResult(std::string_view name, std::int32_t result) {
  const std::size_t index = IndexOf(name);
  if (!kFunctions[index].has_result) {
    throw std::invalid_argument("a function without a result: " + std::string(name));
  }
  const std::scoped_lock lock(mutex_);
  steps_[index].result = result;
}

void CallScript::ThrowFrom(std::string_view name, int times) {
  const std::size_t index = IndexOf(name);
  const std::scoped_lock lock(mutex_);
  steps_[index].throws = times;
}

void CallScript::Reset() {
  observer.Replace({});
  const std::scoped_lock lock(mutex_);
  steps_ = {};
}

std::string_view CallScript::NameOf(Function function) {
  return kFunctions[static_cast<std::size_t>(function)].name;
}

std::int32_t CallScript::Take(Function function) {
  const std::scoped_lock lock(mutex_);
  Step& step = steps_[static_cast<std::size_t>(function)];
  if (step.throws <= 0) return step.result;
  --step.throws;
  throw std::runtime_error(std::string(NameOf(function)) + " was told to fail");
}

}  // namespace plenar_ble
