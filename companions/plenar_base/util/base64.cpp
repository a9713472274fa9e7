#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include <plenar_base/crypto.h>

namespace util::crypto {
namespace {

/// The two digits of each 12 bits.
constexpr auto kDigitPairs = [] {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::array<char, 2>, 1 << 12> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kDigits[i >> 6], kDigits[i & 0x3F]};
  return pairs;
}();

void WriteGroup(char* out, std::uint32_t first, std::uint32_t second, std::uint32_t third) {
  const std::uint32_t group = first << 16 | second << 8 | third;
  std::memcpy(out, &kDigitPairs[group >> 12], 2);
  std::memcpy(out + 2, &kDigitPairs[group & 0xFFF], 2);
}

}  // namespace

std::string Encode64(const void* data, std::size_t length) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  std::string text((length + 2) / 3 * 4, '=');
  char* out = text.data();
  for (; length >= 3; length -= 3, bytes += 3, out += 4) {
    WriteGroup(out, bytes[0], bytes[1], bytes[2]);
  }
  if (length == 0) return text;
  WriteGroup(out, bytes[0], length == 2 ? bytes[1] : 0, 0);
  for (; length < 3; ++length) text[text.size() - 3 + length] = '=';
  return text;
}

}  // namespace util::crypto
