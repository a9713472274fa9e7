#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include <plenar_base/crypto.h>

namespace util::crypto {

std::string Encode64(const void* data, std::size_t length) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* const bytes = static_cast<const unsigned char*>(data);
  std::string text;
  text.reserve((length + 2) / 3 * 4);
  for (std::size_t at = 0; at < length; at += 3) {
    const std::size_t in_group = std::min<std::size_t>(3, length - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < in_group ? bytes[at + i] : 0u);
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= in_group ? kDigits[group >> (18 - 6 * i) & 0x3F] : '=';
    }
  }
  return text;
}

}  // namespace util::crypto
