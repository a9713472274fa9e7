#pragma once

#include <cstddef>
#include <string>

#include <plenar_base/plenar_base_export.h>

namespace util::crypto {

/// Checks the signature of the file at this path: 0 when it is intact and its signer is trusted
/// on this machine, anything else otherwise. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT int VerifyFile(const std::wstring& path);

/// Base64 with padding and without line breaks (RFC 4648, section 4). [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::string Encode64(const void* data, std::size_t length);

}  // namespace util::crypto
