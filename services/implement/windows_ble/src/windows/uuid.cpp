#include "services/implement/windows_ble/src/windows/uuid.h"

#include <algorithm>
#include <string_view>

namespace quorvel_service {
namespace {

constexpr std::string_view kUuidForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

constexpr bool IsBetween(char c, char first, char last) noexcept {
  return first <= c && c <= last;
}

constexpr bool IsLetterOrDigit(char c) noexcept {
  return IsBetween(c, '0', '9') || IsBetween(c, 'a', 'z') || IsBetween(c, 'A', 'Z');
}

/// -1 for a character that is not a hexadecimal digit.
constexpr int HexValue(char c) noexcept {
  if (IsBetween(c, '0', '9')) return c - '0';
  if (IsBetween(c, 'a', 'f')) return c - 'a' + 10;
  if (IsBetween(c, 'A', 'F')) return c - 'A' + 10;
  return -1;
}

}  // namespace

bool IsValidUuid(const std::string& text) noexcept {
  return std::equal(text.begin(), text.end(), kUuidForm.begin(), kUuidForm.end(),
                    [](char c, char form) { return form == '-' ? c == '-' : IsLetterOrDigit(c); });
}

std::vector<std::uint8_t> UuidStringToBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes(kUuidByteCount);
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size() && count < kUuidByteCount;) {
    if (text[i] == '-' || text[i] == '{' || text[i] == '}') {
      ++i;
      continue;
    }
    const int high = HexValue(text[i]);
    const int low = i + 1 < text.size() ? HexValue(text[i + 1]) : -1;
    if (high >= 0 && low >= 0) bytes[count++] = static_cast<std::uint8_t>(high * 16 + low);
    i += 2;
  }
  return bytes;
}

}  // namespace quorvel_service
