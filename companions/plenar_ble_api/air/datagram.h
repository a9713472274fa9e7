#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "air/advertising_data.h"

namespace plenar_ble {

using Address = std::array<std::uint8_t, 6>;

/// One broadcast on the loopback air, the same for every platform:
///
///     offset  length      content
///     0       4           "PBLE"
///     4       1           version, 1
///     5       6           address of the sender, in the order of its text
///     11      0 to 1650   advertising data
inline constexpr std::size_t kDatagramHeaderLength = 11;
inline constexpr std::size_t kMaxDatagramLength = kDatagramHeaderLength + kMaxAdvertisingDataLength;

[[nodiscard]] Bytes EncodeDatagram(const Address& sender, ByteView advertising_data);

/// The sender, when the header is one of ours; costs nothing more than looking.
[[nodiscard]] std::optional<Address> SenderOf(ByteView datagram);

/// None for anything malformed. The memory taken is in proportion to the datagram.
[[nodiscard]] std::optional<BleBroadcastInfo> DecodeDatagram(ByteView datagram);

/// The address of this process's radio: random, locally administered, the same for as long as the
/// process lives, however often the library is loaded.
[[nodiscard]] Address OwnAddress();
/// For example "Virtual radio 3F07".
[[nodiscard]] std::string OwnLocalName();

}  // namespace plenar_ble
