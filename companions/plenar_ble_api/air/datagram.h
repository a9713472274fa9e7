#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <plenar_ble_api/ble_api.h>

namespace plenar_ble {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// One broadcast on the loopback air, the same for every platform. Numbers are little-endian.
///
///     offset  length    content
///     0       4         "PBLE"
///     4       1         version, 2
///     5       4         id of the sending process
///     9       2         company identifier
///     11      0 to 252  manufacturer data
struct Datagram {
  std::uint32_t process;
  std::uint16_t company;
  ByteView data;
};

inline constexpr std::size_t kDatagramHeaderLength = 11;
inline constexpr std::size_t kMaxDatagramLength = kDatagramHeaderLength + 252;

[[nodiscard]] Bytes Encode(const Datagram& datagram);

/// A view of `bytes`, which come from anywhere; none unless they are a broadcast of ours.
[[nodiscard]] std::optional<Datagram> Decode(ByteView bytes);

/// The broadcast as a radio hears it. A process has an address and a name of its own.
[[nodiscard]] BleBroadcastInfo Heard(const Datagram& datagram);

}  // namespace plenar_ble
