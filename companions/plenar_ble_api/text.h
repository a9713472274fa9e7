#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace plenar_ble {

/// Two upper-case digits for each byte, with the separator between them.
[[nodiscard]] std::string HexText(std::span<const std::uint8_t> bytes,
                                  std::string_view separator = {});

}  // namespace plenar_ble
