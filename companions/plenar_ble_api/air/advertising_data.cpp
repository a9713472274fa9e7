#include "air/advertising_data.h"

#include <algorithm>
#include <array>
#include <string>

#include "air/text.h"

namespace plenar_ble {
namespace {

constexpr std::size_t kCompanyLength = 2;

/// What a short service UUID stands for: this one, with the short one in its last bytes.
constexpr std::array<std::uint8_t, 16> kBaseUuid{0xFB, 0x34, 0x9B, 0x5F, 0x80, 0, 0, 0x80,
                                                 0,    0x10, 0,    0,    0,    0, 0, 0};
constexpr std::size_t kShortUuidPlace = 12;

/// Of each UUID in a list of them; 0 for what is no such list.
std::size_t UuidLength(SectionType type) {
  switch (type) {
    case SectionType::kIncompleteServiceUuids16:
    case SectionType::kCompleteServiceUuids16:
      return 2;
    case SectionType::kIncompleteServiceUuids32:
    case SectionType::kCompleteServiceUuids32:
      return 4;
    case SectionType::kIncompleteServiceUuids128:
    case SectionType::kCompleteServiceUuids128:
      return 16;
    default:
      return 0;
  }
}

bool IsWellFormed(SectionType type, ByteView data) {
  if (const std::size_t length = UuidLength(type)) return data.size() % length == 0;
  if (type == SectionType::kManufacturerData) return data.size() >= kCompanyLength;
  return true;
}

void AddServiceUuids(ByteView data, std::size_t length, BleBroadcastInfo& info) {
  for (; !data.empty(); data = data.subspan(length)) {
    auto uuid = kBaseUuid;
    const std::size_t place = length == uuid.size() ? 0 : kShortUuidPlace;
    std::copy_n(data.begin(), length, uuid.begin() + static_cast<std::ptrdiff_t>(place));
    info.service_uuids.push_back(UuidText(uuid));
  }
}

/// Takes the next structure off `rest`; false when there is no whole one.
bool NextSection(ByteView& rest, SectionType& type, ByteView& data) {
  if (rest.size() < 2) return false;
  const std::size_t length = rest[0];
  if (length == 0 || length > rest.size() - 1) return false;
  type = SectionType{rest[1]};
  data = rest.subspan(2, length - 1);
  rest = rest.subspan(1 + length);
  return true;
}

bool IsWellFormed(ByteView rest) {
  if (rest.size() > kMaxAdvertisingDataLength) return false;
  SectionType type{};
  ByteView data;
  while (!rest.empty()) {
    if (!NextSection(rest, type, data) || !IsWellFormed(type, data)) return false;
  }
  return true;
}

}  // namespace

void AppendSection(std::uint8_t type, ByteView data, Bytes& out) {
  out.push_back(static_cast<std::uint8_t>(1 + data.size()));
  out.push_back(type);
  out.insert(out.end(), data.begin(), data.end());
}

void AppendManufacturerData(std::uint16_t company, ByteView data, Bytes& out) {
  Bytes section{static_cast<std::uint8_t>(company & 0xFF), static_cast<std::uint8_t>(company >> 8)};
  section.insert(section.end(), data.begin(), data.end());
  AppendSection(static_cast<std::uint8_t>(SectionType::kManufacturerData), section, out);
}

void AddSection(SectionType type, ByteView data, BleBroadcastInfo& info) {
  info.data_sections[static_cast<std::uint8_t>(type)].assign(data.begin(), data.end());
  if (!IsWellFormed(type, data)) return;
  if (const std::size_t length = UuidLength(type)) {
    AddServiceUuids(data, length, info);
  } else if (type == SectionType::kCompleteLocalName || type == SectionType::kShortenedLocalName) {
    info.local_name.assign(data.begin(), data.end());
  } else if (type == SectionType::kManufacturerData) {
    const auto company = static_cast<std::uint16_t>(data[0] | data[1] << 8);
    const ByteView payload = data.subspan(kCompanyLength);
    info.manufacturer_data[company].assign(payload.begin(), payload.end());
  }
}

bool ParseAdvertisingData(ByteView data, BleBroadcastInfo& info) {
  if (!IsWellFormed(data)) return false;
  SectionType type{};
  ByteView section;
  while (NextSection(data, type, section)) AddSection(type, section, info);
  return true;
}

}  // namespace plenar_ble
