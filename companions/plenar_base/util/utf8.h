#pragma once

#include <string_view>

namespace util::stringhelp {

/// What stands for an ill-formed part of a text.
inline constexpr char32_t kReplacement = 0xFFFD;

/// Takes one code point off the front of a UTF-8 text that is not empty. The longest part that
/// could have begun a sequence counts as one ill-formed unit.
[[nodiscard]] char32_t TakeUtf8(std::string_view& text) noexcept;

}  // namespace util::stringhelp
