#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Bytes, held in strings as the service takes and gives them, and their texts.
namespace qvs_host {

/// The bytes of an even number of hexadecimal digits; none for any other text.
[[nodiscard]] std::optional<std::string> HexToBytes(std::string_view hex);
[[nodiscard]] std::string BytesToHex(std::string_view bytes);

/// The bytes of a Base64 text with padding (RFC 4648, section 4); none for any other text.
[[nodiscard]] std::optional<std::string> Base64ToBytes(std::string_view text);

/// The 16 bytes, in text order, of a UUID text of the form 8-4-4-4-12; none for any other text.
[[nodiscard]] std::optional<std::string> UuidToBytes(std::string_view uuid);

/// Bytes as people like to read them, safe for a terminal: quoted where they are printable UTF-8
/// text, hexadecimal otherwise.
[[nodiscard]] std::string ReadableBytes(const std::string& bytes);

}  // namespace qvs_host
