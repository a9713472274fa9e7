// The advertisement publisher.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kOther[] = "00000000-0000-0000-0000-000000000001";
constexpr char kAdd[] = "ble BleServerAddManufacturerData(*)";
constexpr char kStart[] = "ble BleServerStartBroadcast()";
constexpr char kStop[] = "ble BleServerStopBroadcast()";
constexpr char kRepeat[] = "4 BleStartBroadcast: repeat broadcast, ignore it";

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
    return Requested("BleStartBroadcast", [&] { Advertise(uuid, data); });
  }
  Lines Stop() {
    return Requested("BleStartBroadcast", [this] { StopAdvertising(); });
  }

  [[nodiscard]] Bytes OnAir() const {
    return radio_->Advertising().value_or(plenar_ble_control::Advertisement{}).data;
  }
};

TEST_F(AdvertisingTest, SendsTheUuidAndTheDataUnderTheCompanyIdentifier) {
  EXPECT_THAT(Request(kUuid, std::string("a\0\xFF", 3)),
              Reads({kAdd, kStart, Started(0), "ret 0"}));
  Bytes data = kUuidBytes;
  data.insert(data.end(), {'a', 0, 0xFF});
  EXPECT_EQ(OnAir(), data);
  EXPECT_EQ(radio_->Advertising()->company, kCompany);
}

TEST_F(AdvertisingTest, AcceptsUuidTextOfAnyLettersAndDigits) {
  const std::pair<const char*, Bytes> cases[] = {
      {kUuid, kUuidBytes},
      {"12345678-9abc-def0-1234-56789abcdef0", kUuidBytes},
      {"0123abcd-0000-0000-0000-000000000000",
       {0x01, 0x23, 0xAB, 0xCD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"12g45678-9ABC-DEF0-1234-56789ABCDEF0",
       {0x12, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0,
        0}},
      {"zzzzzzzz-zzzz-zzzz-zzzz-zzzzzzzzzz0F", {0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const auto& [uuid, bytes] : cases) {
    EXPECT_EQ(Advertise(uuid, ""), 0) << uuid;
    EXPECT_EQ(OnAir(), bytes) << uuid;
    StopAdvertising();
  }
}

TEST_F(AdvertisingTest, RefusesOtherText) {
  for (const auto& uuid : {
           std::string(),
           std::string("12345678-9ABC-DEF0-1234-56789ABCDEF"),
           std::string("12345678-9ABC-DEF0-1234-56789ABCDEF00"),
           std::string("{12345678-9ABC-DEF0-1234-56789ABCDEF0}"),
           std::string("123456789-ABC-DEF0-1234-56789ABCDEF0"),
           std::string("12345678 9ABC DEF0 1234 56789ABCDEF0"),
           std::string("12345678-9ABC-DEF0-1234-56789ABCDEF\xC3"),
           std::string("12345678-9ABC-DEF0-1234-56789ABCDEF0\n"),
           std::string("12345678-9ABC-DEF0-1234-56789ABCDEF0\0", 37),
           std::string(100'000, 'a'),
       }) {
    EXPECT_THAT(Request(uuid, std::string(13, 'x')),
                Reads({"3 BleStartBroadcast: invalid uuid:" + uuid.substr(0, 36) + '*', "ret 7"}));
  }
}

TEST_F(AdvertisingTest, TakesUpTo28Bytes) {
  EXPECT_THAT(Request(kUuid, std::string(13, 'x')),
              Reads({"3 BleStartBroadcast: data length: 29, it exceeds 28 bytes", "ret 8"}));
  EXPECT_EQ(Advertise(kUuid, std::string(100'000, 'x')), 8);
  EXPECT_EQ(Advertise(kUuid, std::string(12, 'x')), 0);
  EXPECT_EQ(OnAir().size(), 28u);
}

TEST_F(AdvertisingTest, WhatARequestDoesDependsOnTheStatus) {
  const Lines starts = {kAdd, kStart, Started(0), "ret 0"};
  const Lines ignored = {"4 BleStartBroadcast: broadcast service is starting/stopping, ignore it",
                         "ret 0"};
  for (const auto& [status, is_ignored] :
       {std::pair(4, false), {1, true}, {3, true}, {0, false}, {77, false}, {-1, false}}) {
    ReportStatus(status);
    EXPECT_THAT(Request(kUuid, "x"), Reads(is_ignored ? ignored : starts)) << status;
    EXPECT_THAT(Stop(), Reads(is_ignored ? ignored : Lines{kStop, "ret 0"})) << status;
    if (is_ignored) {
      EXPECT_THAT(Request("invalid", "x"), Reads(ignored)) << "comes before the check of the text";
    }
  }
}

TEST_F(AdvertisingTest, ReportsEveryStatus) {
  const std::pair<int, int> cases[] = {{1, 0}, {2, 0}, {2, 0}, {3, -1}, {4, 6}, {99, 2147483647}};
  for (const auto& [status, error] : cases) {
    EXPECT_THAT(After([this, s = status, e = error] { ReportStatus(s, e); }),
                Reads({Changed(status, error), StatusInfo(status, error)}));
  }
}

TEST_F(AdvertisingTest, RestartsWithOtherData) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  EXPECT_THAT(Request(kUuid, "old"), Reads({kRepeat, "ret 0"}));
  EXPECT_THAT(
      Request(kUuid, "new"),
      Reads({"6 BleStartBroadcast: publisher started, need to stop it first", kStop, "ret 0"}));
  // The last request before the stopping counts; the one during it does not, nor does a stop.
  EXPECT_THAT(Request(kOther, "newest"), Holds({kStop, "ret 0"}));
  ReportStatus(3);
  Request(kUuid, "too late");
  Stop();
  ReportStatus(4);
  EXPECT_THAT(Take(), Reads({Changed(4), StatusInfo(4), "6 operator (): restart broadcast", kAdd,
                             kStart, Started(0)}));
  EXPECT_EQ(OnAir(),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 'n', 'e', 'w', 'e', 's', 't'}));
  ReportStatus(2);
  EXPECT_THAT(Request(kOther, "newest"), Reads({kRepeat, "ret 0"}));
  ReportStatus(4);
  EXPECT_THAT(Take(kBle), Reads({})) << "restarts once only";
}

TEST_F(AdvertisingTest, AFailedRestartIsNotTriedAgain) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  Advertise(kUuid, "new");
  radio_->SetResult("BleServerStartBroadcast", 8);
  EXPECT_THAT(After([&] { ReportStatus(4); }),
              Holds({"6 operator (): restart broadcast", kAdd, kStart, Started(8)}));
  EXPECT_THAT(After([&] { ReportStatus(4); }, kBle), Reads({}));
}

TEST_F(AdvertisingTest, APublisherInUseForgetsTheData) {
  Advertise(kUuid, "x");
  ReportStatus(2);
  EXPECT_THAT(
      After([&] { ReportStatus(2, 102); }),
      Reads({Changed(2, 102),
             "6 DoPublisherStatusChangedInfo: broadcast publisher is used, reset data cache",
             StatusInfo(2, 102)}));
  EXPECT_THAT(Request(kUuid, "x"), Holds({kStop})) << "no repeat any more";
}

TEST_F(AdvertisingTest, TheLibraryMayRefuse) {
  const std::pair<const char*, Lines> cases[] = {
      {"BleServerAddManufacturerData", {kAdd, Started(-3), "ret 3"}},
      {"BleServerStartBroadcast", {kAdd, kStart, Started(-3), "ret 3"}},
  };
  for (const auto& [function, lines] : cases) {
    radio_->SetResult(function, -3);
    EXPECT_THAT(Request(kUuid, "x"), Reads(lines));
    radio_->SetResult(function, 0);
  }
  ReportStatus(2);
  EXPECT_THAT(Request(kUuid, "x"), Reads({kRepeat, "ret 0"})) << "the data were kept all the same";
}

}  // namespace
}  // namespace qvs_test
