#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <qvs_windows_ble/client.h>
#include <nlohmann/json.hpp>

/// What people read. Nothing that came from the air does more to a terminal than show, or looks
/// like a field that it is not.
namespace qvs_host {

/// The bytes of an even number of hexadecimal digits; none for any other text.
[[nodiscard]] std::optional<std::string> HexToBytes(std::string_view hex);
[[nodiscard]] std::string BytesToHex(std::string_view bytes);
/// The text of a UUID of 32 digits.
[[nodiscard]] std::string UuidText(std::string digits);

/// A text in which quotes and what is not seen (control, formatting and zero-width characters) are
/// escaped; ill-formed UTF-8 becomes U+FFFD.
[[nodiscard]] std::string Escaped(const std::string& text);
[[nodiscard]] std::string Quoted(const std::string& text);
/// Whether bytes are a text all of which is seen.
[[nodiscard]] bool IsText(const std::string& bytes);
/// Bytes between quotes where they are such a text, else hexadecimal after 0x.
[[nodiscard]] std::string BytesOrText(const std::string& bytes);

/// Custom data for programs: "data", a text or null, and "data_hex".
[[nodiscard]] nlohmann::ordered_json DataFields(const std::string& bytes);

[[nodiscard]] std::string_view StateMeaning(ble::Result state);
[[nodiscard]] std::string Describe(const ble::PublisherStatus& status);
[[nodiscard]] std::string Describe(const ble::RetryReport& report);
[[nodiscard]] std::string Describe(const ble::Device& device);

}  // namespace qvs_host
