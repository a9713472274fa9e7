#pragma once

#include <cstdint>
#include <span>

#include <plenar_ble_api/ble_api.h>

namespace plenar_ble {

/// Adds what one section of advertising data says: a local name, service UUIDs or manufacturer
/// data. Any section, also one that is not well formed, joins the data sections.
void AddSection(std::uint8_t type, std::span<const std::uint8_t> data, BleBroadcastInfo& info);

}  // namespace plenar_ble
