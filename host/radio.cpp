#include "host/radio.h"

#include <windows.h>

#include <plenar_ble_control/virtual_radio.h>
#include <qvs_windows_ble/client.h>

#include "host/output.h"

namespace qvs_host {
namespace {

/// Null for a library that has the system's radio only, and nothing to control.
plenar_ble_control::VirtualRadio* ControlOf(HMODULE library) {
  const auto get = GetProcAddress(library, plenar_ble_control::kControlExport);
  if (get == nullptr) return nullptr;
  using Function = plenar_ble_control::PlenarBleControlFunction;
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(get))();
}

}  // namespace

RadioChoice::RadioChoice(const std::string& name) {
  if (name.empty()) return;
  const RadioKind kind = name == "system" ? RadioKind::kSystem : RadioKind::kVirtual;
  library_.emplace(ble::kBleApiFile);
  auto* const control = ControlOf(GetModuleHandleA(ble::kBleApiFile));
  if (control == nullptr ? kind == RadioKind::kSystem : control->SelectRadio(kind)) return;
  throw HostError(kind == RadioKind::kSystem
                      ? "the BLE API library has no radio over this system's own Bluetooth"
                      : "the BLE API library has no virtual radio: it is built for a product");
}

std::optional<RadioKind> RadioInUse() {
  const HMODULE library = GetModuleHandleA(ble::kBleApiFile);
  if (library == nullptr) return std::nullopt;
  const auto* const control = ControlOf(library);
  return control == nullptr ? RadioKind::kSystem : control->SelectedRadio();
}

std::string_view NameOf(RadioKind kind) {
  return kind == RadioKind::kVirtual ? "radio: virtual, heard on this machine only"
                                     : "radio: the system's own Bluetooth";
}

}  // namespace qvs_host
