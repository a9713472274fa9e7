// The parts of the host program that can be looked at alone.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "host/byte_text.h"
#include "host/demo/expectation_table.h"
#include "host/device_record.h"
#include "host/host_error.h"

namespace qvs_host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

std::string Printed(const ExpectationTable& table) {
  std::ostringstream out;
  table.Print(out);
  return out.str();
}

TEST(ExpectationTable, IsMetWhenEverythingWasSeenAsOftenAsExpected) {
  ExpectationTable table;
  table.BeginStep("step");
  table.Expect({{"two events", Kind::kEvent, "state", 2}, {"no result", Kind::kResult, "", 0}});
  table.Observe(Kind::kEvent, "state 5");
  EXPECT_FALSE(table.AllMet());
  table.Observe(Kind::kEvent, "the state 0");
  EXPECT_TRUE(table.AllMet());
  EXPECT_THAT(Printed(table), HasSubstr("ok       2 of 2  two events\n"));
}

TEST(ExpectationTable, IsNotMetWhenSomethingIsMissing) {
  ExpectationTable table;
  table.BeginStep("step");
  table.Expect({{"an event", Kind::kEvent, "state"}});
  table.Observe(Kind::kResult, "state");
  table.Observe(Kind::kEvent, "retry_info");
  EXPECT_FALSE(table.AllMet());
  EXPECT_THAT(Printed(table), HasSubstr("MISSING  0 of 1  an event\n"));
}

TEST(ExpectationTable, IsNotMetWhenSomethingHappensTooOften) {
  ExpectationTable table;
  table.BeginStep("step");
  table.Expect({{"no event", Kind::kEvent, "", 0}});
  table.Observe(Kind::kEvent, "state");
  EXPECT_FALSE(table.AllMet());
  EXPECT_THAT(Printed(table), HasSubstr("TOO MANY 1 of 0  no event\n"));
}

TEST(ExpectationTable, SettlesAStepWhenTheNextOneBegins) {
  ExpectationTable table;
  table.BeginStep("step");
  table.Expect({{"an early event", Kind::kEvent, "state"}});
  table.BeginStep("step");
  table.Expect({{"a late event", Kind::kEvent, "state"}});
  table.Observe(Kind::kEvent, "state");
  EXPECT_FALSE(table.AllMet());
  EXPECT_THAT(Printed(table), HasSubstr("MISSING  0 of 1  an early event\n"));
  EXPECT_THAT(Printed(table), HasSubstr("ok       1 of 1  a late event\n"));
}

TEST(ExpectationTable, IsNotMetWhenNothingWasExpected) {
  EXPECT_FALSE(ExpectationTable().AllMet());
}

TEST(ByteText, ReadsHexOfEvenLengthOnly) {
  EXPECT_THAT(HexToBytes("00fFA0"), Optional(std::string("\x00\xFF\xA0", 3)));
  EXPECT_THAT(HexToBytes(""), Optional(std::string()));
  EXPECT_FALSE(HexToBytes("0"));
  EXPECT_FALSE(HexToBytes("0g"));
}

TEST(ByteText, ReadsPaddedBase64Only) {
  EXPECT_THAT(Base64ToBytes(""), Optional(std::string()));
  EXPECT_THAT(Base64ToBytes("Zg=="), Optional(std::string("f")));
  EXPECT_THAT(Base64ToBytes("Zm8="), Optional(std::string("fo")));
  EXPECT_THAT(Base64ToBytes("Zm9vYmFy"), Optional(std::string("foobar")));
  EXPECT_THAT(Base64ToBytes("AP/+"), Optional(std::string("\x00\xFF\xFE", 3)));
  for (const char* const text : {"Zg", "Zg=", "Zg=x", "Z===", "Zm9v*mFy", "===="}) {
    EXPECT_FALSE(Base64ToBytes(text)) << text;
  }
}

TEST(ByteText, ReadsUuidsOfTheUsualShapeOnly) {
  EXPECT_THAT(UuidToBytes("01234567-89ab-cdef-0123-456789ABCDEF"),
              Optional(HexToBytes("0123456789abcdef0123456789abcdef").value()));
  for (const char* const text :
       {"", "0123456789abcdef0123456789abcdef", "01234567-89ab-cdef-0123-456789abcde",
        "01234567-89ab-cdef-0123-456789abcdeg", "0123456-789ab-cdef-0123-456789abcdef",
        "{01234567-89ab-cdef-0123-456789abcdef}"}) {
    EXPECT_FALSE(UuidToBytes(text)) << text;
  }
}

TEST(ByteText, ShowsAsTextOnlyWhatATerminalPrints) {
  EXPECT_EQ(ReadableBytes("room 4.02"), "\"room 4.02\"");
  EXPECT_EQ(ReadableBytes("B\xC3\xBCro"), "\"B\xC3\xBCro\"");
  EXPECT_EQ(ReadableBytes("\x1B[2J"), "0x1b5b324a");
  EXPECT_EQ(ReadableBytes("\xC2\x9B"), "0xc29b");  // a control character above ASCII
  EXPECT_EQ(ReadableBytes("B\xFCro"), "0x42fc726f");
  EXPECT_EQ(ReadableBytes(std::string("\0", 1)), "0x00");
}

constexpr char kTwoDevices[] = R"([
  {"device_id": "02:00:00:00:00:01", "name": "", "is_connected": false, "connectable": true,
   "local_name": "Projector", "rssi": -48, "advertise_data": [],
   "uuids": ["MDEyMzQ1Njc="]},
  {"device_id": "02:00:00:00:00:02", "name": "", "is_connected": false, "connectable": false,
   "local_name": "", "rssi": -61, "advertise_data": ["QUJDaGVsbG8=", "/////w=="], "uuids": []}
])";

TEST(DeviceRecord, IsShownWithTheCustomDataOfItsUuid) {
  const auto devices = ParseDevices(kTwoDevices);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(DescribeDevice(devices[0], "ABC"),
            "02:00:00:00:00:01  -48 dBm  \"Projector\"  service 01234567  connectable");
  EXPECT_EQ(DescribeDevice(devices[1], "ABC"), "02:00:00:00:00:02  -61 dBm  data \"hello\"");
  EXPECT_EQ(DescribeDevice(devices[1], "XYZ"), "02:00:00:00:00:02  -61 dBm");
}

TEST(DeviceRecord, IsOneLineOfJsonWithItsMembersInTheirOrder) {
  const auto lines = CompactDeviceJson(kTwoDevices);
  EXPECT_THAT(lines,
              ElementsAre(HasSubstr(R"({"device_id":"02:00:00:00:00:01","name":"",)"),
                          HasSubstr(R"("advertise_data":["QUJDaGVsbG8=","/////w=="],"uuids":[])")));
}

TEST(DeviceRecord, OfAnotherShapeIsRefused) {
  for (const char* const text : {"", "[", "[1]", R"([{"device_id": 1}])", "7"}) {
    EXPECT_THROW(static_cast<void>(ParseDevices(text)), HostError) << text;
  }
}

}  // namespace
}  // namespace qvs_host
