#include "text.h"

namespace plenar_ble {

std::string HexText(std::span<const std::uint8_t> bytes, std::string_view separator) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += separator;
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

}  // namespace plenar_ble
