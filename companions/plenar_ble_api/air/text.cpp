#include "air/text.h"

#include <cstddef>

namespace plenar_ble {
namespace {

constexpr char kUpperDigits[] = "0123456789ABCDEF";
constexpr char kLowerDigits[] = "0123456789abcdef";

void AppendByte(std::uint8_t byte, const char* digits, std::string& out) {
  out += digits[byte >> 4];
  out += digits[byte & 0x0F];
}

}  // namespace

std::string HexText(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) AppendByte(byte, kUpperDigits, text);
  return text;
}

std::string AddressText(std::span<const std::uint8_t, 6> address) {
  std::string text;
  for (const std::uint8_t byte : address) {
    if (!text.empty()) text += ':';
    AppendByte(byte, kUpperDigits, text);
  }
  return text;
}

std::string UuidText(std::span<const std::uint8_t, 16> uuid) {
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    AppendByte(uuid[uuid.size() - 1 - i], kLowerDigits, text);
  }
  return text;
}

}  // namespace plenar_ble
