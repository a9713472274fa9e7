#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <plenar_ble_control/virtual_radio.h>
#include <qvs_windows_ble/client.h>

namespace qvs_host {

/// The BLE API library's radio.
using RadioKind = plenar_ble_control::RadioKind;

/// Has the library use a radio. To be made before the module loads the library, and to outlive it.
class RadioChoice {
 public:
  /// "virtual" or "system"; throws `HostError` when the library has none. Empty: no choice.
  explicit RadioChoice(const std::string& name);

 private:
  std::optional<ble::LoadedLibrary> library_;
};

/// The radio that the module uses. None while it has not loaded the library.
[[nodiscard]] std::optional<RadioKind> RadioInUse();

/// In words, for people.
[[nodiscard]] std::string_view NameOf(RadioKind kind);

}  // namespace qvs_host
