// The module's two functions, and its registration at load and unload.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

class EntryTest : public ModuleTest {
 protected:
  void SetUp() override { LoadModule(); }
};

TEST_F(EntryTest, MakesNothingForANameThatIsNotRegistered) {
  for (const char* name :
       {"", "service.windows_ble.windows_ble ", " service.windows_ble.windows_ble",
        "Service.Windows_Ble.Windows_Ble", "service.windows_ble.windows_bl", "service"}) {
    EXPECT_EQ(create_(name), nullptr) << '"' << name << '"';
  }
  EXPECT_EQ(create_(nullptr), nullptr);
  EXPECT_THAT(Take(), Reads({}));
}

TEST_F(EntryTest, MakesANewServiceEachTime) {
  const auto* const first = CreateService();
  const auto* const second = CreateService();
  EXPECT_NE(first, second);
}

TEST_F(EntryTest, DestroysNull) {
  destroy_(nullptr);
  EXPECT_THAT(Take(kUsual | kWindows), Reads({}));
}

TEST_F(EntryTest, CreatingBringsBleUpAndDestroyingTakesItDown) {
  service_ = CreateService();
  EXPECT_THAT(Take(kLog | kBle), Reads({
                                     "6 InitService: init Service",
                                     "6 CheckSignature: full path: *plenar_ble_api.dll, dir:*\\",
                                     "ble BleSetLogFunc(*)",
                                     "6 Init: start ble init...,retry_time = 0",
                                     "ble BleInit(*)",
                                     "ble BleCheckState()",
                                     "ble BleClientSetReceivedBroadcastCB(*)",
                                     "ble BleClientSetStoppedWatchBroadcastCB(*)",
                                     "ble BleServerSetStatusChangedCB(*)",
                                     "6 Init: ble init success",
                                 }));
  EXPECT_EQ(sink_->Last("init Service"),
            (LogLine{"", "windows_ble_service_impl.cpp", 11, "InitService", 6, "init Service"}));
  EXPECT_TRUE(radio_->IsInitialised());

  DestroyService(service_);
  EXPECT_THAT(Take(), Reads({
                          "6 UnInit: start ble uninit...",
                          "ble BleUnInit()",
                          "6 UnInit: ble uninit success",
                      }));
  EXPECT_FALSE(radio_->IsInitialised());
}

TEST_F(EntryTest, AllServicesShareOneWrapperAndTheLastInitGetsTheEvents) {
  service_ = CreateService();
  auto* const second = CreateService();
  RecordingListener second_listener(recorder_, "second:");
  second->AddListener(&second_listener);
  second->RemoveListener(&listener_);
  EXPECT_THAT(Take(), Holds({"3 Init: ble is already inited, retry_time = 0"}));

  radio_->ReportPublisherStatus(BlePublisherStatus::kStarted, BleError::kNone);
  Settle();
  EXPECT_THAT(Take(kEvent), Reads({"second: status_info {\"status\":2,\"err\":0}"}));

  Init(0);
  radio_->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kNone);
  Settle();
  EXPECT_THAT(Take(kEvent), Reads({"status_info {\"status\":4,\"err\":0}"}));

  // The end of either is the end of events, and of BLE support, for both.
  DestroyService(second);
  EXPECT_EQ(CheckState(), 1);
  EXPECT_EQ(Init(0), 0);
}

TEST_F(EntryTest, LoadsAndUnloadsForRealAgainAndAgain) {
  for (int round = 0; round < 3; ++round) {
    service_ = CreateService();
    EXPECT_EQ(CheckState(), 0) << "state of the round before was kept";
    EXPECT_THAT(Take(kLog), Holds({"6 CheckBleState: ble state change from: 1, to: 0"}));
    UnloadModule();
    EXPECT_FALSE(SharedLibrary::IsLoaded(kModule));
    LoadModule();
  }
}

TEST_F(EntryTest, UnloadingEndsTheTimersThatOutliveTheService) {
  service_ = CreateService();
  Scan(kUuid, 2, true, 500);
  StopScan();
  ASSERT_TRUE(looper_->NextDeadline().has_value());
  UnloadModule();
  EXPECT_FALSE(SharedLibrary::IsLoaded(kModule));
  EXPECT_FALSE(looper_->NextDeadline().has_value());
  Take();
  RunFor(10'000);
  EXPECT_THAT(Take(), Reads({}));
}

}  // namespace
}  // namespace qvs_test
