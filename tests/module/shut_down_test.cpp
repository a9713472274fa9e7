// Nothing is called in a library that was unloaded, whatever still arrives or ticks.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kWatchRefused[] = "6 InnerWatchBroadcast: ble watch broadcast result: -1";

/// A service whose BLE API library is loaded by nobody else, and so goes when the module lets go.
class ShutDownTest : public QuietServiceTest {
 protected:
  void SetUp() override {
    QuietServiceTest::SetUp();
    ReleaseBleApi();
  }

  /// Takes BLE support down, with what the library has reported still waiting.
  void ShutDown() {
    EXPECT_TRUE(SharedLibrary::IsLoaded(kBleApi));
    EXPECT_EQ(UnInit(), 0);
    EXPECT_FALSE(SharedLibrary::IsLoaded(kBleApi));
    Take();
  }
};

TEST_F(ShutDownTest, ALateStatusReportRestartsNothing) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  Advertise(kUuid, "new");
  radio_->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kNone);
  ShutDown();
  UnloadModule();  // runs what still waits first
  EXPECT_THAT(Take(),
              ElementsAre("3 UnInit: ble is not inited",
                          "6 operator (): broadcast publisher status changed, status: 4, err: 0",
                          "6 operator (): restart broadcast",
                          "6 InnerStartBroadcast: ble start broadcast result: -1"));
}

TEST_F(ShutDownTest, ALateStoppedReportRestartsNothing) {
  Scan(kUuid, 2, false);
  StopScan();
  Scan(kUuid, 2, false);
  radio_->ReportBroadcast(Broadcast("late"));
  radio_->ReportWatcherStopped(BleError::kNone);
  ShutDown();
  RunFor(10'000);  // later the tick of the stopped check comes, and the other timer goes on
  EXPECT_THAT(
      Take(),
      ElementsAre(kFound + std::string("late"), "6 operator (): broadcast wather stopped, err: 0",
                  kTimerOff, kRewatch, kTimerOn, kWatchRefused,
                  "6 operator (): need_to_watch_broadcast_:0", HasSubstr("6 DoScanCallback: ")));
}

TEST_F(ShutDownTest, ALateTickRestartsNothing) {
  Scan(kUuid, 0, false);
  StopScan();
  Scan(kUuid, 0, false);
  ShutDown();
  RunFor(100);
  EXPECT_THAT(Take(), ElementsAre("6 operator (): need_to_watch_broadcast_:1", kTimerOff, kRewatch,
                                  kTimerOff, kWatchRefused));
}

}  // namespace
}  // namespace qvs_test
