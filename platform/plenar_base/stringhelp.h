#pragma once

#include <string>

#include <plenar_base/plenar_base_export.h>

/// Conversions between UTF-8 and the platform's wide text (UTF-16 on Windows, UTF-32 where
/// `wchar_t` has 32 bits). Ill-formed input becomes U+FFFD; embedded NULs are kept.
namespace util::stringhelp {

[[nodiscard]] PLENAR_BASE_EXPORT std::string UnicodeToUtf8(const std::wstring& text);
[[nodiscard]] PLENAR_BASE_EXPORT std::wstring StringToWString(const std::string& text);

}  // namespace util::stringhelp
