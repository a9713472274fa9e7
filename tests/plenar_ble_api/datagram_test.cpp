#include "air/datagram.h"

#include <limits>
#include <string>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace plenar_ble {
namespace {

constexpr Address kSender{0x02, 0xBB, 0xCC, 0xDD, 0xEE, 0x1F};

Bytes WithAdvertisingData(const Bytes& data) {
  return EncodeDatagram(kSender, data);
}

TEST(Datagram, HasTheSameLayoutEverywhere) {
  Bytes data;
  AppendManufacturerData(0x7E51, Bytes{0xAA, 0xBB}, data);
  EXPECT_THAT(EncodeDatagram(kSender, data),
              ElementsAre('P', 'B', 'L', 'E', 1, 0x02, 0xBB, 0xCC, 0xDD, 0xEE, 0x1F, 5, 0xFF, 0x51,
                          0x7E, 0xAA, 0xBB));
}

TEST(Datagram, GivesBackWhatWasSent) {
  const std::string name = "Radio";
  Bytes data;
  AppendSection(0x09, Bytes(name.begin(), name.end()), data);
  AppendSection(0x07,
                Bytes{0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01, 0xEF, 0xCD, 0xAB, 0x89, 0x67,
                      0x45, 0x23, 0x01},
                data);
  AppendSection(0x16, {}, data);
  AppendManufacturerData(0x7E51, Bytes{1, 2}, data);
  AppendManufacturerData(0x0001, {}, data);
  const auto info = DecodeDatagram(WithAdvertisingData(data));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->address, "02:BB:CC:DD:EE:1F");
  EXPECT_EQ(info->local_name, "Radio");
  EXPECT_EQ(info->rssi, -76);
  EXPECT_FALSE(info->connectable);
  EXPECT_THAT(info->service_uuids, ElementsAre("01234567-89ab-cdef-0123-456789abcdef"));
  EXPECT_THAT(info->manufacturer_data,
              ElementsAre(Pair(1, IsEmpty()), Pair(0x7E51, ElementsAre(1, 2))));
  EXPECT_THAT(info->data_sections,
              ElementsAre(Pair(0x07, testing::SizeIs(16)), Pair(0x09, testing::SizeIs(5)),
                          Pair(0x16, IsEmpty()), Pair(0xFF, ElementsAre(1, 0))));
}

TEST(Datagram, IsIgnoredWhenMalformed) {
  ASSERT_TRUE(DecodeDatagram(WithAdvertisingData({})));
  EXPECT_FALSE(DecodeDatagram({}));
  const Bytes malformed[]{
      {0},                                      // a length that leaves out the type
      {1},                                      // no type
      {2, 0x16},                                // shorter than it says
      {255, 0x16, 0},                           // much shorter
      {2, 0xFF, 0x51},                          // half a company identifier
      {4, 0x07, 1, 2, 3},                       // no whole UUID
      {1, 0x16, 3, 0x16, 0},                    // the second one is short
      Bytes(kMaxAdvertisingDataLength + 1, 1),  // too long; each pair of bytes is well formed
  };
  for (const Bytes& data : malformed) {
    EXPECT_FALSE(DecodeDatagram(WithAdvertisingData(data))) << testing::PrintToString(data);
  }
  Bytes longest(kMaxAdvertisingDataLength, 1);
  EXPECT_TRUE(DecodeDatagram(WithAdvertisingData(longest)));
}

TEST(Datagram, IsIgnoredWhenCutOrChangedInItsHeader) {
  Bytes data;
  AppendManufacturerData(0x7E51, Bytes(28, 7), data);
  const Bytes whole = WithAdvertisingData(data);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const bool is_empty_advertisement = length == kDatagramHeaderLength;
    // A copy of just this length, so that reading past it shows.
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(DecodeDatagram(cut).has_value(), is_empty_advertisement) << length;
  }
  for (std::size_t i = 0; i < 5; ++i) {
    Bytes changed = whole;
    ++changed[i];
    EXPECT_FALSE(DecodeDatagram(changed)) << i;
  }
}

TEST(Datagram, EveryByteMayHaveAnyValue) {
  Bytes data;
  AppendSection(0x09, Bytes{'n'}, data);
  AppendManufacturerData(0x7E51, Bytes(3, 7), data);
  const Bytes whole = WithAdvertisingData(data);
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int value = 0; value <= std::numeric_limits<std::uint8_t>::max(); ++value) {
      Bytes changed = whole;
      changed[i] = static_cast<std::uint8_t>(value);
      if (const auto info = DecodeDatagram(changed)) {
        EXPECT_EQ(info->address.size(), 17u);
      }
    }
  }
}

TEST(Datagram, TheOwnAddressIsLocallyAdministeredAndStays) {
  EXPECT_EQ(OwnAddress()[0] & 0x03, 0x02);
  EXPECT_EQ(OwnAddress(), OwnAddress());
  EXPECT_EQ(OwnLocalName().size(), std::string("Virtual radio 0000").size());
}

}  // namespace
}  // namespace plenar_ble
