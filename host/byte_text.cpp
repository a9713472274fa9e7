#include "host/byte_text.h"

#include <plenar_base/stringhelp.h>

#include <algorithm>
#include <cstdint>

namespace qvs_host {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kUuidShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

std::optional<unsigned> HexDigit(char digit) {
  if (digit >= 'A' && digit <= 'F') digit = static_cast<char>(digit - 'A' + 'a');
  const auto value = kHexDigits.find(digit);
  if (value == std::string_view::npos) return std::nullopt;
  return static_cast<unsigned>(value);
}

/// Whether a terminal shows this character and does nothing else with it.
bool IsPrintable(wchar_t character) {
  return character >= L' ' && (character < L'\x7F' || character > L'\x9F');
}

}  // namespace

std::optional<std::string> HexToBytes(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const auto high = HexDigit(hex[i]);
    const auto low = HexDigit(hex[i + 1]);
    if (!high || !low) return std::nullopt;
    bytes += static_cast<char>(*high << 4 | *low);
  }
  return bytes;
}

std::string BytesToHex(std::string_view bytes) {
  std::string hex;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    hex += kHexDigits[value >> 4];
    hex += kHexDigits[value & 0xF];
  }
  return hex;
}

std::optional<std::string> Base64ToBytes(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);

  std::string bytes;
  std::uint32_t bits = 0;
  int bit_count = 0;
  for (const char character : text) {
    const auto digit = kBase64Digits.find(character);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    bit_count += 6;
    if (bit_count >= 8) {
      bit_count -= 8;
      bytes += static_cast<char>(bits >> bit_count & 0xFF);
    }
  }
  return bytes;
}

std::optional<std::string> UuidToBytes(std::string_view uuid) {
  if (uuid.size() != kUuidShape.size()) return std::nullopt;
  std::string digits;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    if ((kUuidShape[i] == '-') != (uuid[i] == '-')) return std::nullopt;
    if (uuid[i] != '-') digits += uuid[i];
  }
  return HexToBytes(digits);
}

std::string ReadableBytes(const std::string& bytes) {
  const std::wstring text = util::stringhelp::StringToWString(bytes);
  // Ill-formed UTF-8 does not survive the way there and back.
  const bool readable = std::all_of(text.begin(), text.end(), IsPrintable) &&
                        util::stringhelp::UnicodeToUtf8(text) == bytes;
  return readable ? '"' + bytes + '"' : "0x" + BytesToHex(bytes);
}

}  // namespace qvs_host
