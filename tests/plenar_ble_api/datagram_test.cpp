#include "air/datagram.h"

#include <gmock/gmock.h>

namespace plenar_ble {

const Bytes kWhole{'P', 'B', 'L', 'E', 2, 0x1F, 0xEE, 0xDD, 0xCC, 0x51, 0x7E, 1, 2};

TEST(Datagram, HasTheSameLayoutEverywhere) {
  const Datagram datagram = Decode(kWhole).value();
  EXPECT_EQ(Encode(datagram), kWhole);
  const BleBroadcastInfo info = Heard(datagram);
  EXPECT_EQ(info.address, "02:50:CC:DD:EE:1F");
  EXPECT_EQ(info.local_name, "Virtual radio CCDDEE1F");
  EXPECT_EQ(info.rssi, -76);
  EXPECT_THAT(info.manufacturer_data.at(0x7E51), testing::ElementsAre(1, 2));
}

TEST(Datagram, OfAnotherKindIsIgnored) {
  for (std::size_t length = 0; length <= kMaxDatagramLength + 1; ++length) {
    Bytes bytes = kWhole;
    bytes.resize(length);  // A copy of just this length, so that reading past it shows.
    EXPECT_EQ(Decode(Bytes(bytes)).has_value(),
              length >= kDatagramHeaderLength && length <= kMaxDatagramLength);
    if (length == 0) continue;
    bytes = kWhole;
    bytes[(length - 1) % kWhole.size()] ^= 0x20;
    EXPECT_EQ(Decode(bytes).has_value(), (length - 1) % kWhole.size() >= 5);
  }
}

}  // namespace plenar_ble
