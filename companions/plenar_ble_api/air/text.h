#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace plenar_ble {

/// Two upper-case digits for each byte.
[[nodiscard]] std::string HexText(std::span<const std::uint8_t> bytes);

/// "AA:BB:CC:DD:EE:FF"
[[nodiscard]] std::string AddressText(std::span<const std::uint8_t, 6> address);

/// "01234567-89ab-cdef-0123-456789abcdef", of the bytes in the air's order: last one first.
[[nodiscard]] std::string UuidText(std::span<const std::uint8_t, 16> uuid);

}  // namespace plenar_ble
