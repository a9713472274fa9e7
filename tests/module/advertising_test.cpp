// The advertisement publisher.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kOther[] = "00000000-0000-0000-0000-000000000001";

using AdvertisingStory = StoryTest<ServiceTest>;

TEST_F(AdvertisingStory, TakesUuidTextOfAnyLettersAndDigits) {
  for (const char* uuid :
       {kUuid, "12345678-9abc-def0-1234-56789abcdef0", "12g45678-9ABC-DEF0-1234-56789ABCDEF0",
        "zzzzzzzz-zzzz-zzzz-zzzz-zzzzzzzzzz0F"}) {
    Advertise(uuid, std::string("a\0\xFF", 3));
  }
}

TEST_F(AdvertisingStory, RefusesOtherTextAndMoreThan28Bytes) {
  base::log::SetLogLevel(3);
  for (const char* uuid :
       {"", "12345678-9ABC-DEF0-1234-56789ABCDEF", "12345678-9ABC-DEF0-1234-56789ABCDEF00",
        "{12345678-9ABC-DEF0-1234-56789ABCDEF0}", "123456789-ABC-DEF0-1234-56789ABCDEF0",
        "12345678 9ABC DEF0 1234 56789ABCDEF0", "12345678-9ABC-DEF0-1234-56789ABCDEF\xC3",
        "12345678-9ABC-DEF0-1234-56789ABCDEF0\n", "@2345678-9ABC-DEF0-1234-56789ABCDEF0",
        "[2345678-9ABC-DEF0-1234-56789ABCDEF0", "`2345678-9ABC-DEF0-1234-56789ABCDEF0",
        "{2345678-9ABC-DEF0-1234-56789ABCDEF0", "/2345678-9ABC-DEF0-1234-56789ABCDEF:", kUuid}) {
    Advertise(uuid, std::string(13, 'x'));
  }
  Advertise(kUuid, std::string(12, 'x'));
  EXPECT_EQ(Advertise(std::string(100'000, 'a'), ""), 7);
}

TEST_F(AdvertisingStory, WhatARequestDoesDependsOnTheStatus) {
  for (const int status : {1, 3, 0, 77}) {
    ReportStatus(status, 7);
    Advertise(kUuid, "x");
    Advertise("invalid", "x");
    StopAdvertising();
  }
}

TEST_F(AdvertisingStory, RestartsWithOtherData) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  Take();
  Advertise(kUuid, "old");
  Advertise(kUuid, "new");
  Advertise(kOther, "newest");
  ReportStatus(3);
  Advertise(kUuid, "too late");
  ReportStatus(4);
  ReportStatus(2);
  Advertise(kOther, "newest");
  ReportStatus(4);  // restarts once only
}

TEST_F(AdvertisingStory, TheLibraryMayRefuse) {
  radio_->SetResult("BleServerAddManufacturerData", -3);
  Advertise(kUuid, "x");
  radio_->SetResult("BleServerAddManufacturerData", 0);
  radio_->SetResult("BleServerStartBroadcast", 8);
  Advertise(kUuid, "x");
  ReportStatus(2);
  Advertise(kUuid, "x");  // the data were kept
  Advertise(kUuid, "y");
  ReportStatus(4);
  ReportStatus(4);  // a restart is not tried again
}

TEST_F(AdvertisingStory, APublisherInUseForgetsTheData) {
  Advertise(kUuid, "x");
  ReportStatus(2);
  Take();
  ReportStatus(2, 102);
  Advertise(kUuid, "x");
}

TEST_F(AdvertisingStory, InsideAReportTheStatusIsStillTheFormerOne) {
  listener_.on_event = [this](auto) { StopAdvertising(); };
  ReportStatus(1);
}

}  // namespace
}  // namespace qvs_test
