#include "host/describe.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>

#include <plenar_base/stringhelp.h>
#include <qvs_windows_ble/client.h>

namespace qvs_host {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef0123456789ABCDEF";

struct Range {
  char32_t first;
  char32_t last;
};

/// What shows nothing of its own: Unicode's control and format characters, line separators, fillers
/// and variation selectors.
constexpr Range kUnseen[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x034F, 0x034F},
    {0x0600, 0x0605},   {0x061C, 0x061C},   {0x06DD, 0x06DD},   {0x070F, 0x070F},
    {0x0890, 0x0891},   {0x08E2, 0x08E2},   {0x115F, 0x1160},   {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},
    {0x3164, 0x3164},   {0xD800, 0xDFFF},   {0xE000, 0xF8FF},   {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},   {0x110BD, 0x110BD},
    {0x110CD, 0x110CD}, {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0x10FFFF}};

bool IsSeen(char32_t character) {
  return std::ranges::none_of(kUnseen, [character](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

/// Takes the first character off a well-formed text.
char32_t TakeCharacter(std::string_view& text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = size == 1 ? lead : lead & (0x7Fu >> size);
  for (const char byte : text.substr(1, size - 1)) {
    character = character << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
  }
  text.remove_prefix(size);
  return character;
}

std::string WellFormed(const std::string& text) {
  return util::stringhelp::UnicodeToUtf8(util::stringhelp::StringToWString(text));
}

}  // namespace

std::optional<std::string> HexToBytes(std::string_view hex) {
  const bool is_hex = hex.find_first_not_of(kHexDigits) == std::string_view::npos;
  if (!is_hex || hex.size() % 2 != 0) return std::nullopt;
  return ble::UuidToBytes(hex);
}

std::string UuidText(std::string digits) {
  for (const std::size_t place : {8u, 13u, 18u, 23u}) digits.insert(place, 1, '-');
  return digits;
}

std::string BytesToHex(std::string_view bytes) {
  std::string hex;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    hex += kHexDigits[value >> 4];
    hex += kHexDigits[value & 0xF];
  }
  return hex;
}

std::string Escaped(const std::string& text) {
  const std::string well_formed = WellFormed(text);
  std::ostringstream out;
  out << std::hex;
  for (std::string_view rest = well_formed; !rest.empty();) {
    const std::string_view before = rest;
    const char32_t character = TakeCharacter(rest);
    if (!IsSeen(character)) {
      out << "\\u{" << static_cast<std::uint32_t>(character) << '}';
    } else {
      if (character == '"' || character == '\\') out << '\\';
      out << before.substr(0, before.size() - rest.size());
    }
  }
  return out.str();
}

std::string Quoted(const std::string& text) {
  return '"' + Escaped(text) + '"';
}

bool IsText(const std::string& bytes) {
  return WellFormed(bytes) == bytes && Escaped(bytes).find("\\u{") == std::string::npos;
}

std::string BytesOrText(const std::string& bytes) {
  return IsText(bytes) ? Quoted(bytes) : "0x" + BytesToHex(bytes);
}

nlohmann::ordered_json DataFields(const std::string& bytes) {
  nlohmann::ordered_json fields = {{"data", nullptr}, {"data_hex", BytesToHex(bytes)}};
  if (IsText(bytes)) fields["data"] = bytes;
  return fields;
}

std::string_view StateMeaning(ble::Result state) {
  return state == ble::Result::kSuccess ? "Bluetooth LE can be used" : Meaning(state);
}

std::string Describe(const ble::PublisherStatus& status) {
  constexpr std::string_view kTexts[] = {"", "starting", "advertising", "stopping", "stopped"};
  const auto number = static_cast<std::size_t>(status.status);
  std::string text = number < std::size(kTexts) ? std::string(kTexts[number])
                                                : "status " + std::to_string(status.status);
  if (status.error == ble::PublisherStatus::kPublisherInUse) {
    text += ": something else uses the radio's publisher, error 102";
  } else if (status.error != 0) {
    text += ": the BLE API library's error " + std::to_string(status.error);
  }
  return text;
}

std::string Describe(const ble::RetryReport& report) {
  return (report.success ? "the adapter can be used, after "
                         : "the adapter stays unavailable after ") +
         std::to_string(report.checks) + (report.checks == 1 ? " check" : " checks");
}

std::string Describe(const ble::Device& device) {
  std::string line = Escaped(device.address) + "  " + std::to_string(device.rssi) + " dBm";
  if (!device.name.empty()) line += "  " + Quoted(device.name);
  if (device.data) line += "  data " + BytesOrText(*device.data);
  for (const std::string& uuid : device.service_uuids) line += "  service " + Escaped(uuid);
  if (device.connectable) line += "  connectable";
  return line;
}

}  // namespace qvs_host
