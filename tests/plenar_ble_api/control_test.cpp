#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include "tests/plenar_ble_api/ble_library_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ControlTest = BleLibraryTest;

TEST_F(ControlTest, AFunctionReturnsWhatItIsToldAndDoesNothingElse) {
  ble.radio->SetResult("BleServerStartBroadcast", 17);
  ble.radio->SetResult("BleClientStartWatchBroadcast", -5);
  ble.radio->SetResult("BleCheckState", 6);
  EXPECT_EQ(ble.Advertise(), 17);
  EXPECT_EQ(ble.StartWatchBroadcast(), -5);
  EXPECT_EQ(ble.CheckState(), BleError::kAdapterTemporarilyUnavailable);
  EXPECT_FALSE(ble.radio->Advertising());
  EXPECT_FALSE(ble.radio->IsWatching());
  ble.radio->SetResult("BleServerStartBroadcast", 0);
  EXPECT_EQ(ble.Advertise(), 0);
}

TEST_F(ControlTest, AFunctionThrowsAsOftenAsItIsTold) {
  ble.radio->ThrowFrom("BleClientStopWatchBroadcast", 2);
  ble.StartWatchBroadcast();
  EXPECT_THROW(ble.StopWatchBroadcast(), std::runtime_error);
  EXPECT_THROW(ble.StopWatchBroadcast(), std::runtime_error);
  EXPECT_TRUE(ble.radio->IsWatching());
  ble.StopWatchBroadcast();
  EXPECT_FALSE(ble.radio->IsWatching());
}

TEST_F(ControlTest, RefusesNamesThatItDoesNotKnow) {
  EXPECT_THROW(ble.radio->SetResult("BleNothing", 1), std::invalid_argument);
  EXPECT_THROW(ble.radio->SetResult("BleUnInit", 1), std::invalid_argument) << "has no result";
  EXPECT_THROW(ble.radio->ThrowFrom("", 1), std::invalid_argument);
}

TEST_F(ControlTest, TellsEveryCallWithItsArguments) {
  ble.radio->SetCallObserver([this](std::string_view function, const std::string& arguments) {
    journal.Note(std::string(function) + "(" + arguments + ")");
  });
  constexpr std::uint8_t kData[]{0xAB, 1};
  ble.Init(0);
  ble.CheckState();
  ble.SetScanMode(1);
  ble.SetServiceUuidFilter("u");
  ble.SetManufacturerDataFilter(0x7E51, nullptr, 0);
  ble.SetSignalStrengthFilter(-70);
  ble.SetReceivedBroadcastCB({});
  ble.SetStoppedWatchBroadcastCB({});
  ble.SetStatusChangedCB([](BlePublisherStatus, BleError) {});
  ble.StartWatchBroadcast();
  ble.StopWatchBroadcast();
  ble.AddManufacturerData(0x7E51, kData, 2);
  ble.AddDataSection(0x16, kData, 1);
  ble.StartBroadcast();
  ble.StopBroadcast();
  ble.UnInit();
  ble.SetLogFunc({});
  EXPECT_THAT(
      journal.Take(),
      ElementsAre("BleInit(reserved=0)", "BleCheckState()", "BleClientSetScanMode(mode=1)",
                  "BleClientSetServiceUuidFilter(uuid=u)",
                  "BleClientSetManufacturerDataFilter(company=0x7E51 data=null)",
                  "BleClientSetSignalStrengthFilter(minimum_dbm=-70)",
                  "BleClientSetReceivedBroadcastCB(callable=empty)",
                  "BleClientSetStoppedWatchBroadcastCB(callable=empty)",
                  "BleServerSetStatusChangedCB(callable=set)", "BleClientStartWatchBroadcast()",
                  "BleClientStopWatchBroadcast()",
                  "BleServerAddManufacturerData(company=0x7E51 data=AB01)",
                  "BleServerAddDataSection(type=0x16 data=AB)", "BleServerStartBroadcast()",
                  "BleServerStopBroadcast()", "BleUnInit()", "BleSetLogFunc(callable=empty)"));
}

TEST_F(ControlTest, MakesReportsAtOnceOnAThreadOfTheLibrary) {
  ble.SetLogFunc([&, user = std::this_thread::get_id()](const char* file, int line,
                                                        const char* function, int level,
                                                        const char* message) {
    EXPECT_NE(std::this_thread::get_id(), user);
    journal.Note(std::string(file) + std::to_string(line) + function + std::to_string(level) +
                 message);
    ble.radio->ReportWatcherStopped(BleError{5});
  });
  ble.radio->ReportLog("a", 1, "b", 4, "c");
  ble.radio->ReportBroadcast(Device("A"));
  EXPECT_THAT(journal.Take(), ElementsAre("a1b4c", "1000 stopped error 5", "1000 heard A"));
  ble.UnInit();
  ble.radio->ReportBroadcast(Device("A"));
  EXPECT_THAT(journal.Take(), IsEmpty()) << "its callable is gone";
  ble.radio->ReportLog("a", 2, "b", 4, "c");
  EXPECT_THAT(journal.Take(), ElementsAre("a2b4c")) << "the log callable stays";
}

TEST_F(ControlTest, SaysInTheLogWhatItDoes) {
  ble.SetLogFunc([&](const char* file, int, const char*, int level, const char* message) {
    journal.Note(std::to_string(level) + " " + file + " " + message);
  });
  ble.StartWatchBroadcast();
  ble.SetScanMode(3);
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(),
              ElementsAre("6 watcher.cpp watcher starts", "3 watcher.cpp there is no scan mode 3"));
}

TEST_F(ControlTest, ResetGoesBackToTheStateAfterLoading) {
  ble.radio->SetCallObserver([&](std::string_view, const std::string&) { journal.Note("call"); });
  ble.SetLogFunc([&](const char*, int, const char*, int, const char*) { journal.Note("log"); });
  ble.radio->SetResult("BleInit", 1);
  ble.radio->PutOnAir(Device("A"), 1);
  ble.radio->SetAutomaticReports(false);
  ble.radio->SetStatusError(BlePublisherStatus::kStarted, BleError{9});
  ble.StartWatchBroadcast();
  ble.radio->Reset();
  journal.Take();

  EXPECT_FALSE(ble.radio->IsInitialised());
  ble.radio->ReportLog("a", 1, "b", 4, "c");
  EXPECT_EQ(ble.radio->AdvanceTo(5000), 0u) << "real time";
  ASSERT_EQ(ble.Init(0), 0);
  ble.radio->SetAir(plenar_ble_control::Air::kInProcess);
  ble.SetStatusChangedCB([&](BlePublisherStatus status, BleError error) {
    journal.Note(std::to_string(static_cast<int>(status) * 100 + static_cast<int>(error)));
  });
  ble.StartWatchBroadcast();
  ble.Advertise();
  EXPECT_TRUE(journal.WaitFor("200"));
  EXPECT_THAT(journal.Take(), ElementsAre("100", "200"));
}

TEST_F(ControlTest, ManualTimeTakesOverWhatIsScheduled) {
  ble.radio->SetReportDelays(
      {.starting = 500, .started = 0, .stopping = 0, .stopped = 0, .watcher_stopped = 0});
  ble.Advertise();
  AdvanceTo(1200);
  ble.radio->UseManualTime(9000);
  EXPECT_EQ(ble.radio->NextDeadline(), 9300u);
}

}  // namespace
