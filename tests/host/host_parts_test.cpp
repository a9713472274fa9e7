// The parts of the host program that can be looked at alone.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "host/byte_text.h"
#include "host/demo/expectation_table.h"
#include "host/device_record.h"
#include "host/host_error.h"
#include "host/result_text.h"

namespace qvs_host {
namespace {

using testing::Contains;
using testing::StartsWith;

TEST(ExpectationTable, TellsWhatIsMissingOrTooMuchInItsStep) {
  for (const int times : {0, 1, 2}) {
    ExpectationTable table;
    EXPECT_FALSE(table.AllMet());
    for (const int seen : {times, 1}) {
      table.BeginStep("step");
      table.Expect({{"event", Kind::kEvent, "state"}, {"no result", Kind::kResult, "", 0}});
      table.Observe(Kind::kEvent, "retry_info");
      for (int i = 0; i < seen; ++i) table.Observe(Kind::kEvent, "the state 5");
    }
    EXPECT_EQ(table.AllMet(), times == 1);
    std::ostringstream out;
    table.Print(out);
    const char* const marks[] = {"MISSING  0", "ok       1", "TOO MANY 2"};
    EXPECT_THAT(out.str(), StartsWith("step\n  " + std::string(marks[times]) + " of 1  event\n"));
  }
}

TEST(ByteText, RefusesWhatIsNotOfTheShape) {
  EXPECT_EQ(HexToBytes("00fFA0"), std::string("\x00\xFF\xA0", 3));
  for (const char* const text : {"0", "0g"}) EXPECT_FALSE(HexToBytes(text)) << text;

  EXPECT_EQ(Base64ToBytes("Zg=="), "f");
  EXPECT_EQ(Base64ToBytes("Zm9vAP/+"), std::string("foo\x00\xFF\xFE", 6));
  for (const char* const text : {"Zg", "Zg=x", "Z===", "Zm9v*mFy"}) {
    EXPECT_FALSE(Base64ToBytes(text)) << text;
  }

  EXPECT_EQ(UuidToBytes("01234567-89ab-cdef-0123-456789ABCDEF"),
            HexToBytes("0123456789abcdef0123456789abcdef"));
  for (const char* const text :
       {"0123456789abcdef0123456789abcdef", "01234567-89ab-cdef-0123-456789abcdeg",
        "0123456-789ab-cdef-0123-456789abcdef"}) {
    EXPECT_FALSE(UuidToBytes(text)) << text;
  }
}

TEST(ByteText, ShowsAsTextOnlyWhatATerminalPrints) {
  EXPECT_EQ(ReadableBytes("B\xC3\xBCro"), "\"B\xC3\xBCro\"");
  EXPECT_EQ(ReadableBytes("\x1B[2J"), "0x1b5b324a");
  EXPECT_EQ(ReadableBytes("\xC2\x9B"), "0xc29b");  // a control character above ASCII
  EXPECT_EQ(ReadableBytes("B\xFCro"), "0x42fc726f");
}

TEST(ResultText, HasWordsOfItsOwnForEveryCode) {
  std::set<std::string> texts;
  for (int code = 0; code <= 10; ++code) texts.insert(ResultText(code));
  EXPECT_EQ(texts.size(), 11u);
  EXPECT_THAT(texts, Contains(StartsWith("unknown")).Times(1));
}

TEST(DeviceRecord, IsShownWithTheCustomDataOfItsUuid) {
  const std::string json = R"([
    {"device_id": "02:00", "name": "", "is_connected": false, "connectable": true, "rssi": -48,
     "local_name": "TV", "advertise_data": ["QUJDaGVsbG8=", "/////w=="], "uuids": ["MDEyMw=="]}])";
  EXPECT_EQ(DescribeDevice(ParseDevices(json).at(0), "ABC"),
            "02:00  -48 dBm  \"TV\"  data \"hello\"  service 0123  connectable");
  EXPECT_THAT(CompactDeviceJson(json).at(0), StartsWith(R"({"device_id":"02:00","name":"",)"));
}

TEST(DeviceRecord, OfAnotherShapeIsRefused) {
  for (const char* const text : {"", "[1]", R"([{"device_id": 1}])", "7"}) {
    EXPECT_THROW(static_cast<void>(ParseDevices(text)), HostError) << text;
  }
}

}  // namespace
}  // namespace qvs_host
