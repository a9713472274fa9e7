// The advertisement publisher.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using plenar_ble_control::Advertisement;

constexpr char kOther[] = "00000000-0000-0000-0000-000000000001";
constexpr char kAdd[] = "ble BleServerAddManufacturerData(*)";
constexpr char kStart[] = "ble BleServerStartBroadcast()";
constexpr char kStop[] = "ble BleServerStopBroadcast()";

class AdvertisingTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    radio_->SetAutomaticReports(false);
  }

  void Report(int status, int error = 0) {
    radio_->ReportPublisherStatus(static_cast<BlePublisherStatus>(status),
                                  static_cast<BleError>(error));
    Settle();
  }

  /// The lines of a request, without the one that repeats its arguments.
  Lines Request(const std::string& uuid, const std::string& data) {
    Take();
    Advertise(uuid, data);
    return RestOfRequest();
  }
  Lines Stop() {
    Take();
    StopAdvertising();
    return RestOfRequest();
  }

  [[nodiscard]] Bytes OnAir() const { return radio_->Advertising().value_or(Advertisement{}).data; }

 private:
  Lines RestOfRequest() {
    auto lines = Take();
    EXPECT_THAT(lines.at(0), testing::StartsWith("6 BleStartBroadcast: start: "));
    lines.erase(lines.begin());
    return lines;
  }
};

TEST_F(AdvertisingTest, SendsTheUuidAndTheDataUnderTheCompanyIdentifier) {
  EXPECT_THAT(
      Request(kUuid, std::string("a\0\xFF", 3)),
      Reads({kAdd, kStart, "6 InnerStartBroadcast: ble start broadcast result: 0", "ret 0"}));
  Bytes data = kUuidBytes;
  data.insert(data.end(), {'a', 0, 0xFF});
  EXPECT_EQ(OnAir(), data);
  EXPECT_EQ(radio_->Advertising()->company, kCompany);
}

TEST_F(AdvertisingTest, AcceptsUuidTextOfAnyLettersAndDigits) {
  const struct {
    const char* uuid;
    Bytes bytes;
  } cases[] = {
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
    const auto lines = Request(uuid, std::string(13, 'x'));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], testing::StartsWith("3 BleStartBroadcast: invalid uuid:"));
    EXPECT_EQ(lines[1], "ret 7");
  }
}

TEST_F(AdvertisingTest, TakesUpTo28Bytes) {
  EXPECT_THAT(Request(kUuid, std::string(13, 'x')),
              Reads({"3 BleStartBroadcast: data length: 29, it exceeds 28 bytes", "ret 8"}));
  EXPECT_EQ(Advertise(kUuid, std::string(100'000, 'x')), 8);
  EXPECT_FALSE(radio_->Advertising().has_value());
  EXPECT_EQ(Advertise(kUuid, std::string(12, 'x')), 0);
  EXPECT_EQ(OnAir().size(), 28u);
}

TEST_F(AdvertisingTest, WhatARequestDoesDependsOnTheStatus) {
  const Lines starts = {kAdd, kStart, "6 InnerStartBroadcast: ble start broadcast result: 0",
                        "ret 0"};
  const Lines ignored = {"4 BleStartBroadcast: broadcast service is starting/stopping, ignore it",
                         "ret 0"};
  const struct {
    int status;
    Lines on_start, on_stop;
  } cases[] = {
      {4, starts, {kStop, "ret 0"}}, {1, ignored, ignored},          {3, ignored, ignored},
      {0, starts, {kStop, "ret 0"}}, {77, starts, {kStop, "ret 0"}}, {-1, starts, {kStop, "ret 0"}},
  };
  for (const auto& [status, on_start, on_stop] : cases) {
    Report(status);
    EXPECT_THAT(Request(kUuid, "x"), Reads(on_start)) << status;
    EXPECT_THAT(Stop(), Reads(on_stop)) << status;
    if (on_start == ignored) {
      EXPECT_THAT(Request("invalid", "x"), Reads(ignored)) << "comes before the check of the text";
    }
  }
}

TEST_F(AdvertisingTest, ReportsEveryStatus) {
  const std::pair<int, int> cases[] = {{1, 0}, {2, 0}, {2, 0}, {3, -1}, {4, 6}, {99, 2147483647}};
  for (const auto& [status, error] : cases) {
    Take();
    Report(status, error);
    const auto s = std::to_string(status), e = std::to_string(error);
    EXPECT_THAT(Take(), Reads({"6 operator (): broadcast publisher status changed, status: " + s +
                                   ", err: " + e,
                               "status_info {\"status\":" + s + ",\"err\":" + e + "}"}));
  }
}

TEST_F(AdvertisingTest, RestartsWithOtherData) {
  Advertise(kUuid, "old");
  Report(2);
  EXPECT_THAT(Request(kUuid, "old"),
              Reads({"4 BleStartBroadcast: repeat broadcast, ignore it", "ret 0"}));
  EXPECT_THAT(
      Request(kUuid, "new"),
      Reads({"6 BleStartBroadcast: publisher started, need to stop it first", kStop, "ret 0"}));
  // The last request before the stopping counts; the one during it does not, nor does a stop.
  EXPECT_THAT(Request(kOther, "newest"), Holds({kStop, "ret 0"}));
  Report(3);
  Request(kUuid, "too late");
  Stop();
  Report(4);
  EXPECT_THAT(Take(),
              Reads({"6 operator (): broadcast publisher status changed, status: 4, err: 0",
                     "status_info {\"status\":4,\"err\":0}", "6 operator (): restart broadcast",
                     kAdd, kStart, "6 InnerStartBroadcast: ble start broadcast result: 0"}));
  EXPECT_EQ(OnAir(),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 'n', 'e', 'w', 'e', 's', 't'}));
  Report(2);
  EXPECT_THAT(Request(kOther, "newest"), Holds({"4 *repeat broadcast, ignore it"}));
  Take();
  Report(4);
  EXPECT_THAT(Take(kBle), Reads({})) << "restarts once only";
}

TEST_F(AdvertisingTest, AFailedRestartIsNotTriedAgain) {
  Advertise(kUuid, "old");
  Report(2);
  Advertise(kUuid, "new");
  radio_->SetResult("BleServerStartBroadcast", 8);
  Take();
  Report(4);
  EXPECT_THAT(Take(), Holds({"6 operator (): restart broadcast", kAdd, kStart,
                             "6 InnerStartBroadcast: ble start broadcast result: 8"}));
  Report(4);
  EXPECT_THAT(Take(kBle), Reads({}));
}

TEST_F(AdvertisingTest, APublisherInUseForgetsTheData) {
  Advertise(kUuid, "x");
  Report(2);
  Take();
  Report(2, 102);
  EXPECT_THAT(
      Take(),
      Reads({"6 operator (): broadcast publisher status changed, status: 2, err: 102",
             "6 DoPublisherStatusChangedInfo: broadcast publisher is used, reset data cache",
             "status_info {\"status\":2,\"err\":102}"}));
  EXPECT_THAT(Request(kUuid, "x"), Holds({kStop})) << "no repeat any more";
}

TEST_F(AdvertisingTest, TheLibraryMayRefuse) {
  const std::pair<const char*, Lines> cases[] = {
      {"BleServerAddManufacturerData",
       {kAdd, "6 InnerStartBroadcast: ble start broadcast result: -3", "ret 3"}},
      {"BleServerStartBroadcast",
       {kAdd, kStart, "6 InnerStartBroadcast: ble start broadcast result: -3", "ret 3"}},
  };
  for (const auto& [function, lines] : cases) {
    radio_->SetResult(function, -3);
    EXPECT_THAT(Request(kUuid, "x"), Reads(lines));
    radio_->SetResult(function, 0);
  }
  // The data were kept all the same.
  Report(2);
  EXPECT_THAT(Request(kUuid, "x"), Holds({"4 *repeat broadcast, ignore it"}));
}

}  // namespace
}  // namespace qvs_test
