#pragma once

#include <plenar_ble_control/virtual_radio.h>

namespace plenar_ble {

/// The control interface of the library's radio.
[[nodiscard]] plenar_ble_control::VirtualRadio& Control();

}  // namespace plenar_ble
