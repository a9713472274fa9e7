#pragma once

#include <string>

#include <plenar_base/plenar_base_export.h>

namespace util::deviceinfo {

/// Whether the system is Windows 10 or later, by its true version (not the one that Windows
/// shows to programs without a manifest). [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT bool IsWin10OrLater();

/// The simple display name of who signed the file at this UTF-8 path. Empty when there is no
/// signature or it is not cryptographically intact over the file's bytes; whether the signer is
/// trusted does not matter here. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::string GetFileSignature(const std::string& path);

}  // namespace util::deviceinfo
