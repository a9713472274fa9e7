#include "services/implement/windows_ble/src/windows/uuid.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace quorvel_service {
namespace {

constexpr std::string_view kUuidForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

/// In ASCII, whatever the locale is.
constexpr bool IsLetterOrDigit(char c) noexcept {
  return ('0' <= c && c <= '9') || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z');
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
    const char* const pair = text.data() + i;
    std::uint8_t byte = 0;
    if (i + 1 < text.size() && std::from_chars(pair, pair + 2, byte, 16).ptr == pair + 2) {
      bytes[count++] = byte;
    }
    i += 2;
  }
  return bytes;
}

}  // namespace quorvel_service
