#include "air/datagram.h"

#include <algorithm>
#include <array>

#include <plenar_ble_api/ble_api.h>

#include "text.h"

namespace plenar_ble {
namespace {

constexpr std::array<std::uint8_t, 5> kPrefix{'P', 'B', 'L', 'E', 2};
constexpr std::uint16_t kNonConnectableUndirected = 3;

std::uint8_t ByteOf(std::uint32_t number, unsigned index) {
  return static_cast<std::uint8_t>(number >> 8 * index);
}

}  // namespace

Bytes Encode(const Datagram& datagram) {
  Bytes bytes(kPrefix.begin(), kPrefix.end());
  for (unsigned i = 0; i < 4; ++i) bytes.push_back(ByteOf(datagram.process, i));
  for (unsigned i = 0; i < 2; ++i) bytes.push_back(ByteOf(datagram.company, i));
  bytes.insert(bytes.end(), datagram.data.begin(), datagram.data.end());
  return bytes;
}

std::optional<Datagram> Decode(ByteView bytes) {
  if (bytes.size() < kDatagramHeaderLength || bytes.size() > kMaxDatagramLength ||
      !std::equal(kPrefix.begin(), kPrefix.end(), bytes.begin())) {
    return std::nullopt;
  }
  Datagram datagram{0, 0, bytes.subspan(kDatagramHeaderLength)};
  for (std::size_t i = 4; i-- > 0;) datagram.process = datagram.process << 8 | bytes[5 + i];
  datagram.company = static_cast<std::uint16_t>(bytes[10] << 8 | bytes[9]);
  return datagram;
}

BleBroadcastInfo Heard(const Datagram& datagram) {
  // The first byte says that the address is of one device, and of nobody's range.
  std::array<std::uint8_t, 6> address{0x02, 0x50};
  for (unsigned i = 0; i < 4; ++i) address.at(5 - i) = ByteOf(datagram.process, i);
  BleBroadcastInfo info;
  info.address = HexText(address, ":");
  info.local_name = "Virtual radio " + HexText(ByteView(address).last(4));
  // Signal strength has no meaning here; each process is given one of its own.
  info.rssi = static_cast<std::int16_t>(-45 - static_cast<int>(datagram.process % 32));
  info.advertisement_type = kNonConnectableUndirected;
  info.manufacturer_data[datagram.company].assign(datagram.data.begin(), datagram.data.end());
  return info;
}

}  // namespace plenar_ble
