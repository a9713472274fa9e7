#include "air/datagram.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace plenar_ble {

/// A name, a service UUID, an empty section and manufacturer data.
const Bytes kWhole{'P',  'B',  'L',  'E',  1,    0x02, 0xBB, 0xCC, 0xDD, 0xEE, 0x1F,
                   3,    0x09, 'N',  'a',  17,   0x07, 0xEF, 0xCD, 0xAB, 0x89, 0x67,
                   0x45, 0x23, 0x01, 0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01,
                   1,    0x16, 5,    0xFF, 0x51, 0x7E, 1,    2};

TEST(Datagram, HasTheSameLayoutEverywhere) {
  EXPECT_EQ(EncodeDatagram(*SenderOf(kWhole), ByteView(kWhole).subspan(11)), kWhole);
  const BleBroadcastInfo info = DecodeDatagram(kWhole).value();
  EXPECT_EQ(info.address, "02:BB:CC:DD:EE:1F");
  EXPECT_EQ(info.local_name, "Na");
  EXPECT_THAT(info.service_uuids, ElementsAre("01234567-89ab-cdef-0123-456789abcdef"));
  EXPECT_THAT(info.manufacturer_data.at(0x7E51), ElementsAre(1, 2));
  EXPECT_THAT(info.data_sections.at(0x09), ElementsAre('N', 'a'));
}

TEST(Datagram, IsIgnoredWhenItsDataIsMalformed) {
  const std::pair<Bytes, bool> cases[]{
      {{0}, false},                                      // a length that leaves out the type
      {{2, 0x16}, false},                                // shorter than it says
      {{2, 0xFF, 0x51}, false},                          // half a company identifier
      {{4, 0x07, 1, 2, 3}, false},                       // no whole UUID
      {{1, 0x16, 3, 0x16, 0}, false},                    // the second one is short
      {Bytes(kMaxAdvertisingDataLength, 1), true},       // each pair of bytes is well formed
      {Bytes(kMaxAdvertisingDataLength + 2, 1), false},  // too long
  };
  for (const auto& [data, accepted] : cases) {
    EXPECT_EQ(DecodeDatagram(EncodeDatagram({}, data)).has_value(), accepted);
  }
}

TEST(Datagram, MayBeCutAndChangedAnywhere) {
  for (std::size_t i = 0; i < kWhole.size(); ++i) {
    // A copy of just this length, so that reading past it shows.
    const Bytes cut(kWhole.begin(), kWhole.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_EQ(DecodeDatagram(cut).has_value(), i == 11 || i == 15 || i == 33 || i == 35) << i;
    Bytes changed = kWhole;
    changed[i] ^= 0xFF;
    EXPECT_FALSE(DecodeDatagram(changed) && i < 5) << i << ": no header of ours";
  }
}

}  // namespace plenar_ble
