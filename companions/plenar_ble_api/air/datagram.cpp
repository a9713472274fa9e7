#include "air/datagram.h"

#include <algorithm>
#include <random>

#include "air/process_identity.h"
#include "air/text.h"

namespace plenar_ble {
namespace {

constexpr std::array<std::uint8_t, 5> kPrefix{'P', 'B', 'L', 'E', 1};
constexpr std::uint16_t kNonConnectableUndirected = 3;

/// Signal strength has no meaning on a loopback; each sender is given one of its own.
std::int16_t SignalStrengthOf(const Address& sender) {
  return static_cast<std::int16_t>(-45 - sender.back() % 32);
}

}  // namespace

Bytes EncodeDatagram(const Address& sender, ByteView advertising_data) {
  Bytes datagram(kDatagramHeaderLength + advertising_data.size());
  auto next = std::copy(kPrefix.begin(), kPrefix.end(), datagram.begin());
  next = std::copy(sender.begin(), sender.end(), next);
  std::copy(advertising_data.begin(), advertising_data.end(), next);
  return datagram;
}

std::optional<Address> SenderOf(ByteView datagram) {
  if (datagram.size() < kDatagramHeaderLength) return std::nullopt;
  if (!std::equal(kPrefix.begin(), kPrefix.end(), datagram.begin())) return std::nullopt;
  Address sender;
  std::copy_n(datagram.begin() + kPrefix.size(), sender.size(), sender.begin());
  return sender;
}

std::optional<BleBroadcastInfo> DecodeDatagram(ByteView datagram) {
  const std::optional<Address> sender = SenderOf(datagram);
  if (!sender) return std::nullopt;
  BleBroadcastInfo info;
  if (!ParseAdvertisingData(datagram.subspan(kDatagramHeaderLength), info)) return std::nullopt;
  info.address = AddressText(*sender);
  info.rssi = SignalStrengthOf(*sender);
  info.advertisement_type = kNonConnectableUndirected;
  return info;
}

Address OwnAddress() {
  std::mt19937_64 generator(ProcessIdentity());
  std::uint64_t bits = generator();
  Address address;
  for (std::uint8_t& byte : address) {
    byte = static_cast<std::uint8_t>(bits);
    bits >>= 8;
  }
  address[0] = static_cast<std::uint8_t>((address[0] & ~0x01) | 0x02);  // Unicast, local.
  return address;
}

std::string OwnLocalName() {
  const Address address = OwnAddress();
  return "Virtual radio " + HexText(ByteView(address).last(2));
}

}  // namespace plenar_ble
