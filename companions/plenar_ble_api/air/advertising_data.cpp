#include "air/advertising_data.h"

#include <string>

#include "air/text.h"

namespace plenar_ble {
namespace {

constexpr std::size_t kUuidLength = 16;
constexpr std::size_t kCompanyLength = 2;

bool IsUuidList(SectionType type) {
  return type == SectionType::kIncompleteServiceUuids128 ||
         type == SectionType::kCompleteServiceUuids128;
}

bool IsWellFormed(SectionType type, ByteView data) {
  if (IsUuidList(type)) return data.size() % kUuidLength == 0;
  if (type == SectionType::kManufacturerData) return data.size() >= kCompanyLength;
  return true;
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

void AddSection(SectionType type, ByteView data, BleBroadcastInfo& info) {
  info.data_sections[static_cast<std::uint8_t>(type)].assign(data.begin(), data.end());
  if (IsUuidList(type)) {
    for (; !data.empty(); data = data.subspan(kUuidLength)) {
      info.service_uuids.push_back(UuidText(data.first<kUuidLength>()));
    }
  } else if (type == SectionType::kCompleteLocalName || type == SectionType::kShortenedLocalName) {
    info.local_name.assign(data.begin(), data.end());
  } else if (type == SectionType::kManufacturerData) {
    const auto company = static_cast<std::uint16_t>(data[0] | data[1] << 8);
    const ByteView payload = data.subspan(kCompanyLength);
    info.manufacturer_data[company].assign(payload.begin(), payload.end());
  }
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

bool ParseAdvertisingData(ByteView data, BleBroadcastInfo& info) {
  if (!IsWellFormed(data)) return false;
  SectionType type{};
  ByteView section;
  while (NextSection(data, type, section)) AddSection(type, section, info);
  return true;
}

}  // namespace plenar_ble
