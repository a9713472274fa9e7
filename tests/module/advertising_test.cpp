// The advertisement publisher.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kOther[] = "00000000-0000-0000-0000-000000000001";
constexpr char kStart[] = "ble BleServerStartBroadcast()";
constexpr char kStop[] = "ble BleServerStopBroadcast()";
constexpr char kRepeat[] = "4 BleStartBroadcast: repeat broadcast, ignore it";
constexpr char kRestart[] = "6 operator (): restart broadcast";

/// The hand-over of a UUID's and the custom data's bytes, in hexadecimal digits.
std::string Add(const std::string& bytes) {
  return "ble BleServerAddManufacturerData(company=0x7E51 data=" + bytes + ')';
}
const std::string kAddX = Add("123456789ABCDEF0123456789ABCDEF078");

std::string Changed(int status, int error = 0) {
  return "6 operator (): broadcast publisher status changed, status: " + std::to_string(status) +
         ", err: " + std::to_string(error);
}

std::string Started(int result) {
  return "6 InnerStartBroadcast: ble start broadcast result: " + std::to_string(result);
}

class AdvertisingTest : public QuietServiceTest {
 protected:
  Lines Request(const std::string& uuid, const std::string& data) {
    Take();
    Advertise(uuid, data);
    return TakeAnswer();
  }
  Lines Stop() {
    Take();
    StopAdvertising();
    return TakeAnswer();
  }
};

TEST_F(AdvertisingTest, TakesUuidTextOfAnyLettersAndDigits) {
  const std::pair<const char*, const char*> cases[] = {
      {kUuid, "123456789ABCDEF0123456789ABCDEF0"},
      {"12345678-9abc-def0-1234-56789abcdef0", "123456789ABCDEF0123456789ABCDEF0"},
      {"12g45678-9ABC-DEF0-1234-56789ABCDEF0", "1256789ABCDEF0123456789ABCDEF000"},
      {"zzzzzzzz-zzzz-zzzz-zzzz-zzzzzzzzzz0F", "0F000000000000000000000000000000"},
  };
  for (const auto& [uuid, bytes] : cases) {
    EXPECT_THAT(Request(uuid, std::string("a\0\xFF", 3)),
                ElementsAre(Add(bytes + std::string("6100FF")), kStart, Started(0), "ret 0"));
    StopAdvertising();
  }
  EXPECT_THAT(Request(kUuid, std::string(12, 'x')), Contains("ret 0")) << "28 bytes in all";
}

TEST_F(AdvertisingTest, RefusesOtherTextAndMoreThan28Bytes) {
  for (const std::string uuid :
       {"", "12345678-9ABC-DEF0-1234-56789ABCDEF", "12345678-9ABC-DEF0-1234-56789ABCDEF00",
        "{12345678-9ABC-DEF0-1234-56789ABCDEF0}", "123456789-ABC-DEF0-1234-56789ABCDEF0",
        "12345678 9ABC DEF0 1234 56789ABCDEF0", "12345678-9ABC-DEF0-1234-56789ABCDEF\xC3",
        "12345678-9ABC-DEF0-1234-56789ABCDEF0\n", "@2345678-9ABC-DEF0-1234-56789ABCDEF0",
        "`2345678-9ABC-DEF0-1234-56789ABCDEF:"}) {
    EXPECT_THAT(Request(uuid, std::string(13, 'x')),
                ElementsAre("3 BleStartBroadcast: invalid uuid:" + uuid, "ret 7"));
  }
  EXPECT_EQ(Advertise(std::string(100'000, 'a'), ""), 7);
  EXPECT_THAT(Request(kUuid, std::string(13, 'x')),
              ElementsAre("3 BleStartBroadcast: data length: 29, it exceeds 28 bytes", "ret 8"));
}

TEST_F(AdvertisingTest, WhatARequestDoesDependsOnTheStatus) {
  const Lines ignored = {"4 BleStartBroadcast: broadcast service is starting/stopping, ignore it",
                         "ret 0"};
  for (const auto& [status, is_ignored] :
       {std::pair(4, false), {1, true}, {3, true}, {0, false}, {77, false}}) {
    ReportStatus(status, 7);
    EXPECT_THAT(Take(), ElementsAre(Changed(status, 7), StatusInfo(status, 7)));
    EXPECT_EQ(Request(kUuid, "x"),
              (is_ignored ? ignored : Lines{kAddX, kStart, Started(0), "ret 0"}))
        << status;
    EXPECT_EQ(Stop(), (is_ignored ? ignored : Lines{kStop, "ret 0"})) << status;
    if (is_ignored) {
      EXPECT_EQ(Request("invalid", "x"), ignored) << "comes before the other checks";
    }
  }
}

TEST_F(AdvertisingTest, RestartsWithOtherData) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  EXPECT_THAT(Request(kUuid, "old"), ElementsAre(kRepeat, "ret 0"));
  EXPECT_THAT(
      Request(kUuid, "new"),
      ElementsAre("6 BleStartBroadcast: publisher started, need to stop it first", kStop, "ret 0"));
  // The last request before the stopping counts; the one during it does not, nor does a stop.
  EXPECT_THAT(Request(kOther, "x"), Contains(kStop));
  ReportStatus(3);
  Request(kUuid, "too late");
  Stop();
  ReportStatus(4);
  EXPECT_THAT(Take(), ElementsAre(Changed(4), StatusInfo(4), kRestart,
                                  Add("0000000000000000000000000000000178"), kStart, Started(0)));
  ReportStatus(2);
  EXPECT_THAT(Request(kOther, "x"), ElementsAre(kRepeat, "ret 0"));
  ReportStatus(4);
  EXPECT_THAT(Take(kBle), IsEmpty()) << "restarts once only";
}

TEST_F(AdvertisingTest, TheLibraryMayRefuse) {
  radio_->SetResult("BleServerAddManufacturerData", -3);
  EXPECT_THAT(Request(kUuid, "x"), ElementsAre(kAddX, Started(-3), "ret 3"));
  radio_->SetResult("BleServerAddManufacturerData", 0);
  radio_->SetResult("BleServerStartBroadcast", 8);
  EXPECT_THAT(Request(kUuid, "x"), ElementsAre(kAddX, kStart, Started(8), "ret 3"));
  ReportStatus(2);
  EXPECT_THAT(Request(kUuid, "x"), ElementsAre(kRepeat, "ret 0")) << "the data are kept";
  Advertise(kUuid, "y");
  ReportStatus(4);
  EXPECT_THAT(Take(kBle), Contains(kStart));
  ReportStatus(4);
  EXPECT_THAT(Take(kBle), IsEmpty()) << "a restart is not tried again";
}

TEST_F(AdvertisingTest, APublisherInUseForgetsTheData) {
  Advertise(kUuid, "x");
  ReportStatus(2);
  Take();
  ReportStatus(2, 102);
  EXPECT_THAT(
      Take(),
      ElementsAre(Changed(2, 102),
                  "6 DoPublisherStatusChangedInfo: broadcast publisher is used, reset data cache",
                  StatusInfo(2, 102)));
  EXPECT_THAT(Request(kUuid, "x"), Contains(kStop)) << "no repeat any more";
}

TEST_F(AdvertisingTest, InsideAReportTheStatusIsStillTheFormerOne) {
  listener_.on_event = [this](auto) { StopAdvertising(); };
  ReportStatus(1);
  EXPECT_THAT(Take(), ElementsAre(Changed(1), StatusInfo(1),
                                  "6 BleStartBroadcast: start: 0, uuid: , publisher status: 4",
                                  kStop, "ret 0"));
}

}  // namespace
}  // namespace qvs_test
