#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvel_service {

/// The company identifier of the product's manufacturer data, which begins with the bytes of a
/// UUID.
inline constexpr std::uint16_t kCompanyId = 0x7E51;

inline constexpr std::size_t kUuidByteCount = 16;

/// Whether the whole text has the 8-4-4-4-12 form. Any ASCII letter or digit counts as a digit;
/// braces are not accepted.
[[nodiscard]] bool IsValidUuid(const std::string& text) noexcept;

/// The UUID's 16 bytes in the order of the text; no field is byte-swapped. '-', '{' and '}' are
/// passed over. A pair with a character that is not a hexadecimal digit gives no byte, so that
/// those behind it move forward and the last ones stay 0.
[[nodiscard]] std::vector<std::uint8_t> UuidStringToBytes(const std::string& text);

}  // namespace quorvel_service
