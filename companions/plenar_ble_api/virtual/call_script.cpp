#include "virtual/call_script.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include <plenar_ble_control/virtual_radio.h>

#include "exported_functions.h"

namespace plenar_ble {
namespace {

/// The name itself, which lives as long as the library.
std::string_view KnownName(std::string_view name) {
  const auto* const found =
      std::find(std::begin(kExportedFunctions), std::end(kExportedFunctions), name);
  if (found != std::end(kExportedFunctions)) return *found;
  throw std::invalid_argument("no function of the BLE API library: " + std::string(name));
}

}  // namespace

void CallScript::SetResult(std::string_view function, std::int32_t result) {
  const std::scoped_lock lock(mutex_);
  steps_[KnownName(function)].result = result;
}

void CallScript::ThrowFrom(std::string_view function, int times) {
  const std::scoped_lock lock(mutex_);
  steps_[KnownName(function)].throws = times;
}

void CallScript::Reset() {
  observer.Replace({});
  const std::scoped_lock lock(mutex_);
  steps_.clear();
}

std::int32_t CallScript::Begin(std::string_view function, const std::string& arguments) {
  observer(function, arguments);
  const std::scoped_lock lock(mutex_);
  const auto step = steps_.find(function);
  if (step == steps_.end()) return 0;
  if (step->second.throws == 0) return step->second.result;
  --step->second.throws;
  throw plenar_ble_control::ScriptedFailure(std::string(function) + " was told to fail");
}

}  // namespace plenar_ble
