#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <plenar_base/stringhelp.h>

#include "util/utf8.h"

namespace util::stringhelp {
namespace {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

constexpr bool IsLeadingSurrogate(char32_t c) {
  return c >= 0xD800 && c < 0xDC00;
}
constexpr bool IsTrailingSurrogate(char32_t c) {
  return c >= 0xDC00 && c < 0xE000;
}
constexpr bool IsCodePoint(char32_t c) {
  return c <= 0x10FFFF && !IsLeadingSurrogate(c) && !IsTrailingSurrogate(c);
}

/// How a UTF-8 sequence may start (the well-formed sequences of the Unicode Standard, table 3-7).
struct LeadByte {
  std::uint8_t first, last;              ///< The range of the first byte.
  std::uint8_t second_low, second_high;  ///< The range of the second; later ones are 80..BF.
  int length;
};
constexpr LeadByte kLeadBytes[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

/// Takes one code point off the front of a wide text.
char32_t TakeWide(std::wstring_view& text) {
  const auto unit = static_cast<char32_t>(text[0]);
  text.remove_prefix(1);
  if (kWideIsUtf16 && IsLeadingSurrogate(unit) && !text.empty()) {
    const auto next = static_cast<char32_t>(text[0]);
    if (IsTrailingSurrogate(next)) {
      text.remove_prefix(1);
      return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
    }
  }
  return IsCodePoint(unit) ? unit : kReplacement;
}

void AppendUtf8(std::string& out, char32_t c) {
  const auto append = [&out](char32_t byte) { out += static_cast<char>(byte); };
  const auto append_later = [&](int shift) { append(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    append(c);
  } else if (c < 0x800) {
    append(0xC0 | c >> 6);
    append_later(0);
  } else if (c < 0x10000) {
    append(0xE0 | c >> 12);
    append_later(6);
    append_later(0);
  } else {
    append(0xF0 | c >> 18);
    append_later(12);
    append_later(6);
    append_later(0);
  }
}

void AppendWide(std::wstring& out, char32_t c) {
  if (kWideIsUtf16 && c >= 0x10000) {
    out += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
    out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
  } else {
    out += static_cast<wchar_t>(c);
  }
}

}  // namespace

char32_t TakeUtf8(std::string_view& text) noexcept {
  const auto byte = [&text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
  const std::uint8_t first = byte(0);
  for (const LeadByte& lead : kLeadBytes) {
    if (first < lead.first || first > lead.last) continue;
    const auto length = static_cast<std::size_t>(lead.length);
    char32_t code_point = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t at = 1; at < length; ++at) {
      const std::uint8_t low = at == 1 ? lead.second_low : 0x80;
      const std::uint8_t high = at == 1 ? lead.second_high : 0xBF;
      if (at == text.size() || byte(at) < low || byte(at) > high) {
        text.remove_prefix(at);
        return kReplacement;
      }
      code_point = code_point << 6 | (byte(at) & 0x3Fu);
    }
    text.remove_prefix(length);
    return code_point;
  }
  text.remove_prefix(1);
  return kReplacement;
}

std::string UnicodeToUtf8(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (std::wstring_view rest = text; !rest.empty();) AppendUtf8(out, TakeWide(rest));
  return out;
}

std::wstring StringToWString(const std::string& text) {
  std::wstring out;
  out.reserve(text.size());
  for (std::string_view rest = text; !rest.empty();) AppendWide(out, TakeUtf8(rest));
  return out;
}

}  // namespace util::stringhelp
