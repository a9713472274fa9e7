#include <gmock/gmock.h>

#include "tests/plenar_ble_api/ble_library_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using PublisherTest = BleLibraryTest;

TEST_F(PublisherTest, ReportsAStartAndAStopInOrder) {
  EXPECT_EQ(ble.Advertise(), 0);
  ASSERT_TRUE(ble.radio->Advertising());
  EXPECT_EQ(ble.radio->Advertising()->company, 0x7E51);
  EXPECT_THAT(ble.radio->Advertising()->data, ElementsAre(1, 2, 3));
  EXPECT_THAT(journal.Take(), IsEmpty()) << "nothing happens until time is moved";
  AdvanceTo(1000);
  ble.StopBroadcast();
  EXPECT_FALSE(ble.radio->Advertising());
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 status 1 error 0", "1000 status 2 error 0",
                                          "1000 status 3 error 0", "1000 status 4 error 0"));
}

TEST_F(PublisherTest, ReportsWithTheDelaysAndErrorsThatWereSet) {
  ble.radio->SetReportDelays(
      {.starting = 10, .started = 20, .stopping = 30, .stopped = 40, .watcher_stopped = 0});
  ble.radio->SetStatusError(BlePublisherStatus::kStarted, BleError::kPublisherInUse);
  ble.Advertise();
  AdvanceTo(1100);
  ble.StopBroadcast();
  AdvanceTo(1200);
  EXPECT_THAT(journal.Take(), ElementsAre("1010 status 1 error 0", "1030 status 2 error 102",
                                          "1130 status 3 error 0", "1170 status 4 error 0"));
}

TEST_F(PublisherTest, AStopWithdrawsTheReportsOfAStart) {
  ble.radio->SetReportDelays(
      {.starting = 10, .started = 20, .stopping = 0, .stopped = 0, .watcher_stopped = 0});
  ble.Advertise();
  AdvanceTo(1015);
  ble.StopBroadcast();
  AdvanceTo(2000);
  EXPECT_THAT(journal.Take(), ElementsAre("1010 status 1 error 0", "1015 status 3 error 0",
                                          "1015 status 4 error 0"));
}

TEST_F(PublisherTest, AStopOfNothingReportsThatItHasStopped) {
  ble.StopBroadcast();
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 status 4 error 0"));

  ble.StopBroadcast();
  EXPECT_EQ(ble.Advertise(), 0) << "and is no obstacle to a start";
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 status 1 error 0", "1000 status 2 error 0"));
}

TEST_F(PublisherTest, RefusesAStartUntilItHasStopped) {
  ble.radio->SetReportDelays(
      {.starting = 10, .started = 10, .stopping = 10, .stopped = 10, .watcher_stopped = 0});
  EXPECT_EQ(ble.Advertise(), 0);
  EXPECT_NE(ble.Advertise(), 0) << "starting";
  AdvanceTo(1100);
  EXPECT_NE(ble.Advertise(), 0) << "started";
  ble.StopBroadcast();
  ble.StopBroadcast();
  AdvanceTo(1110);
  EXPECT_NE(ble.Advertise(), 0) << "stopping";
  AdvanceTo(1120);
  EXPECT_EQ(ble.Advertise(), 0) << "stopped";
  AdvanceTo(1120);
  EXPECT_THAT(journal.Take(), ElementsAre("1010 status 1 error 0", "1020 status 2 error 0",
                                          "1110 status 3 error 0", "1120 status 4 error 0"));
}

TEST_F(PublisherTest, CanBeRestartedFromWithinItsReport) {
  ble.SetStatusChangedCB([this](BlePublisherStatus status, BleError) {
    if (status != BlePublisherStatus::kStopped) return;
    journal.Note("restart gives " + std::to_string(ble.Advertise()));
  });
  ble.Advertise();
  ble.StopBroadcast();
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), ElementsAre("restart gives 0"));
  EXPECT_TRUE(ble.radio->Advertising());
}

TEST_F(PublisherTest, WithoutAutomaticReportsItObeysInSilence) {
  ble.radio->SetAutomaticReports(false);
  EXPECT_EQ(ble.Advertise(), 0);
  ble.StopBroadcast();
  EXPECT_EQ(ble.Advertise(), 0);
  AdvanceTo(2000);
  EXPECT_THAT(journal.Take(), IsEmpty());
  ble.radio->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kPublisherInUse);
  EXPECT_THAT(journal.Take(), ElementsAre("2000 status 4 error 102"));
}

TEST_F(PublisherTest, RefusesDataThatDoesNotFit) {
  const std::vector<std::uint8_t> data(255);
  EXPECT_NE(ble.StartBroadcast(), 0) << "nothing to advertise";
  EXPECT_EQ(ble.AddManufacturerData(1, data.data(), 252), 0);
  EXPECT_NE(ble.AddManufacturerData(1, data.data(), 253), 0);
  EXPECT_NE(ble.AddManufacturerData(1, nullptr, 1), 0);
  EXPECT_EQ(ble.AddManufacturerData(2, nullptr, 0), 0);
  EXPECT_NE(ble.AddDataSection(0x16, data.data(), 255), 0);
  for (std::uint8_t type = 0x20; type < 0x26; ++type) {
    EXPECT_EQ(ble.AddDataSection(type, data.data(), 254), 0);
  }
  EXPECT_EQ(ble.StartBroadcast(), 0);
  ble.StopBroadcast();
  AdvanceTo(1000);
  EXPECT_EQ(ble.AddDataSection(0x26, data.data(), 254), 0);
  EXPECT_NE(ble.StartBroadcast(), 0) << "longer than any advertisement";
}

}  // namespace
