#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include <plenar_ble_api/ble_api.h>

namespace plenar_ble {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// Advertising data as radios send it: a chain of structures, each of a length byte (which counts
/// the type and the data), a type byte and the data. Numbers are little-endian.
enum class SectionType : std::uint8_t {
  kIncompleteServiceUuids16 = 0x02,
  kCompleteServiceUuids16 = 0x03,
  kIncompleteServiceUuids32 = 0x04,
  kCompleteServiceUuids32 = 0x05,
  kIncompleteServiceUuids128 = 0x06,
  kCompleteServiceUuids128 = 0x07,
  kShortenedLocalName = 0x08,
  kCompleteLocalName = 0x09,
  kManufacturerData = 0xFF,
};

inline constexpr std::size_t kMaxSectionLength = 254;
/// What manufacturer data leaves of a section after its company identifier.
inline constexpr std::size_t kMaxManufacturerDataLength = kMaxSectionLength - 2;
/// The longest advertisement that extended advertising can send.
inline constexpr std::size_t kMaxAdvertisingDataLength = 1650;

/// Appends one structure. `data` is at most `kMaxSectionLength` long.
void AppendSection(std::uint8_t type, ByteView data, Bytes& out);
void AppendManufacturerData(std::uint16_t company, ByteView data, Bytes& out);

/// Adds what one structure says. One that is not well formed joins the data sections only.
void AddSection(SectionType type, ByteView data, BleBroadcastInfo& info);

/// Fills the local name, service UUIDs, manufacturer data and data sections of `info`, which come
/// from anywhere. False, with `info` untouched, unless all of `data` is well formed.
[[nodiscard]] bool ParseAdvertisingData(ByteView data, BleBroadcastInfo& info);

}  // namespace plenar_ble
