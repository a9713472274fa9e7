// The module's two functions, and its registration at load and unload.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using EntryTest = ModuleTest;

TEST_F(EntryTest, KnowsOneNameOnly) {
  for (const char* name :
       {"", "service.windows_ble.windows_ble ", " service.windows_ble.windows_ble",
        "Service.Windows_Ble.Windows_Ble", "service.windows_ble.windows_bl", "service"}) {
    EXPECT_EQ(create_(name), nullptr) << '"' << name << '"';
  }
  EXPECT_EQ(create_(nullptr), nullptr);
  destroy_(nullptr);
  EXPECT_THAT(Take(kUsual | kWindows), Reads({}));
}

TEST_F(EntryTest, CreatingBringsBleUpAndDestroyingTakesItDown) {
  service_ = CreateService();
  EXPECT_THAT(
      Take(kLog | kBle | kPlace),
      Reads({"at windows_ble_service_impl.cpp:11", "6 InitService: init Service", "at *",
             "6 CheckSignature: full path: *plenar_ble_api.dll, dir:*\\", "ble BleSetLogFunc(*)",
             "at *", "6 Init: start ble init...,retry_time = 0", "ble BleInit(*)",
             "ble BleCheckState()", "ble BleClientSetReceivedBroadcastCB(*)",
             "ble BleClientSetStoppedWatchBroadcastCB(*)", "ble BleServerSetStatusChangedCB(*)",
             "at *", "6 Init: ble init success"}));
  EXPECT_TRUE(radio_->IsInitialised());
  DestroyService(service_);
  EXPECT_THAT(Take(), Reads({"6 UnInit: start ble uninit...", "ble BleUnInit()",
                             "6 UnInit: ble uninit success"}));
  EXPECT_FALSE(radio_->IsInitialised());
}

TEST_F(EntryTest, AllServicesShareOneWrapperAndTheLastInitGetsTheEvents) {
  service_ = CreateService();
  auto* const second = CreateService();
  EXPECT_NE(second, service_);
  RecordingListener second_listener(recorder_, "second:");
  second->AddListener(&second_listener);
  second->RemoveListener(&listener_);
  EXPECT_THAT(After([&] { ReportStatus(2); }, kEvent), Reads({"second: " + StatusInfo(2)}));
  Init(0);
  ReportStatus(4);
  EXPECT_THAT(Take(kEvent), Reads({StatusInfo(4)}));
  // The end of either is the end of events, and of BLE support, for both.
  DestroyService(second);
  EXPECT_EQ(CheckState(), 1);
}

TEST_F(EntryTest, LoadsAndUnloadsForRealAgainAndAgain) {
  for (int round = 0; round < 3; ++round) {
    service_ = CreateService();
    CheckState();
    EXPECT_THAT(Take(kLog), Holds({"6 CheckBleState: ble state change from: 1, to: 0"}))
        << "nothing is left of the round before";
    // Of the timers that outlive the service nothing is left either.
    Scan(kUuid, 2, true, 500);
    StopScan();
    UnloadModule();
    EXPECT_FALSE(SharedLibrary::IsLoaded(kModule));
    EXPECT_FALSE(looper_->NextDeadline().has_value());
    LoadModule();
  }
}

}  // namespace
}  // namespace qvs_test
