#include "system/data_section.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace plenar_ble {
namespace {

using ByteView = std::span<const std::uint8_t>;
using Uuid = std::array<std::uint8_t, 16>;

/// Data types, from the Assigned Numbers of the Bluetooth SIG. Service UUIDs come in incomplete and
/// complete lists.
enum SectionType : std::uint8_t {
  kServiceUuids16 = 0x02,
  kServiceUuids32 = 0x04,
  kServiceUuids128 = 0x06,
  kShortenedLocalName = 0x08,
  kCompleteLocalName = 0x09,
  kManufacturerData = 0xFF,
};

/// What a short service UUID stands for: this one, with the short one from `kShortUuidPlace` on.
/// Bytes are in the air's order: last one first.
constexpr Uuid kBaseUuid{0xFB, 0x34, 0x9B, 0x5F, 0x80, 0, 0, 0x80, 0, 0x10, 0, 0, 0, 0, 0, 0};
constexpr std::size_t kShortUuidPlace = 12;

/// "01234567-89ab-cdef-0123-456789abcdef"
std::string UuidText(const Uuid& uuid) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    const std::uint8_t byte = uuid.at(uuid.size() - 1 - i);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

void AddServiceUuids(ByteView data, std::size_t length, BleBroadcastInfo& info) {
  if (data.size() % length != 0) return;
  for (; !data.empty(); data = data.subspan(length)) {
    Uuid uuid = kBaseUuid;
    const std::size_t place = length == uuid.size() ? 0 : kShortUuidPlace;
    std::copy_n(data.begin(), length, uuid.begin() + place);
    info.service_uuids.push_back(UuidText(uuid));
  }
}

}  // namespace

void AddSection(std::uint8_t type, ByteView data, BleBroadcastInfo& info) {
  info.data_sections[type].assign(data.begin(), data.end());
  switch (type) {
    case kServiceUuids16:
    case kServiceUuids16 + 1:
      return AddServiceUuids(data, 2, info);
    case kServiceUuids32:
    case kServiceUuids32 + 1:
      return AddServiceUuids(data, 4, info);
    case kServiceUuids128:
    case kServiceUuids128 + 1:
      return AddServiceUuids(data, 16, info);
    case kShortenedLocalName:
    case kCompleteLocalName:
      info.local_name.assign(data.begin(), data.end());
      return;
    case kManufacturerData: {
      if (data.size() < 2) return;
      const auto company = static_cast<std::uint16_t>(data[0] | data[1] << 8);
      info.manufacturer_data[company].assign(data.begin() + 2, data.end());
      return;
    }
    default:
      return;
  }
}

}  // namespace plenar_ble
