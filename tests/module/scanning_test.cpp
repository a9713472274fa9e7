// The broadcast watcher and its timers.
#include <limits>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kStart[] = "ble BleClientStartWatchBroadcast()";
constexpr char kStop[] = "ble BleClientStopWatchBroadcast()";
constexpr char kStarted[] = "6 InnerWatchBroadcast: ble watch broadcast result: 0";
constexpr char kSetMode[] = "ble BleClientSetScanMode(*)";
constexpr char kReport[] = "6 operator (): broadcast wather stopped, err: 0";
constexpr char kTick[] = "6 operator (): need_to_watch_broadcast_:";

class ScanningTest : public QuietServiceTest {
 protected:
  Lines Request(unsigned scan_mode, bool continuous, std::uint64_t interval_ms = 500) {
    return Requested("BleStartWatchBroadcast",
                     [&] { Scan(kUuid, scan_mode, continuous, interval_ms); });
  }
  Lines Stop() {
    return Requested("BleStartWatchBroadcast", [this] { StopScan(); });
  }

  /// Lets one broadcast be cached and gives the milliseconds until it is reported; 0 if it is not
  /// within a minute.
  std::uint64_t UntilReport() {
    Hear(Broadcast("a"));
    Take();
    for (std::uint64_t passed = 50; passed <= 60'000; passed += 50) {
      if (!After([&] { RunFor(50); }, kEvent).empty()) return passed;
    }
    return 0;
  }
};

TEST_F(ScanningTest, TranslatesTheModeAndRunsTheTimerAsAsked) {
  const struct {
    unsigned host_mode;
    bool continuous;
    int mode;
    bool timer;
  } cases[] = {{0, false, 0, false}, {1, false, 2, false}, {2, false, 1, true},
               {7, false, 0, false}, {~0u, true, 0, true}, {0, true, 0, true},
               {1, true, 2, true},   {2, true, 1, true},   {3, true, 0, true}};
  for (const auto& [host_mode, continuous, mode, timer] : cases) {
    EXPECT_THAT(Request(host_mode, continuous),
                Reads({timer ? kTimerOn : kTimerOff, kSetMode, kStart, kStarted, "ret 0"}))
        << host_mode;
    EXPECT_EQ(radio_->ScanMode(), mode);
    EXPECT_EQ(UntilReport(), timer ? 500u : 0u) << host_mode << continuous;
  }
  EXPECT_THAT(Stop(), Reads({kStop, "ret 0"}));
  EXPECT_THAT(Stop(), Reads({"ret 0"}));
}

TEST_F(ScanningTest, ARunningTimerKeepsItsPeriod) {
  Scan(kUuid, 2, false, 200);
  Scan(kUuid, 2, false, 1000);
  EXPECT_EQ(UntilReport(), 200u);
  Scan(kUuid, 0, false);
  Scan(kUuid, 2, false, 1000);
  EXPECT_EQ(UntilReport(), 1000u);
}

TEST_F(ScanningTest, TakesAnyIntervalAndReportsNewBroadcastsOnly) {
  Scan(kUuid, 0, true, 0);
  EXPECT_EQ(UntilReport(), 50u);  // The first look; a tick comes each millisecond.
  RunFor(1000);
  EXPECT_THAT(Take(), Reads({}));
  Scan(kUuid, 0, false);
  Scan(kUuid, 0, true, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(UntilReport(), 0u);
}

TEST_F(ScanningTest, AStopWithoutAStartStillChangesTheWatchedUuid) {
  Scan("one", 0, false);
  StopScan("one");
  RunFor(100);
  EXPECT_EQ(StopScan("two"), 0);
  Take();
  for (const char* uuid : {"one", "two"}) Hear(Broadcast(uuid, {uuid}));
  EXPECT_THAT(Take(), Reads({"6 operator (): find broadcast, ble addr: two"}));
}

TEST_F(ScanningTest, StoppingEndsWithTheTickOrTheReport) {
  Scan(kUuid, 2, false);
  StopScan();
  EXPECT_THAT(After([&] { RunFor(99); }), Reads({}));
  EXPECT_THAT(After([&] { RunFor(1); }), Reads({std::string(kTick) + "0"}));
  EXPECT_TRUE(looper_->NextDeadline().has_value()) << "the tick does not touch the timer";
  EXPECT_THAT(Stop(), Reads({"ret 0"})) << "stopped";
  EXPECT_THAT(After([&] { ReportStopped(-9); }),
              Reads({"6 operator (): broadcast wather stopped, err: -9", kTimerOff}));
  EXPECT_FALSE(looper_->NextDeadline().has_value());
}

TEST_F(ScanningTest, AStartWhileStoppingWaitsForTheReport) {
  Scan(kUuid, 0, false);
  StopScan();
  EXPECT_THAT(Request(1, true, 700),
              Reads({"4 BleStartWatchBroadcast: watcher in stopping", "ret 0"}));
  EXPECT_THAT(After([&] { ReportStopped(); }),
              Reads({kReport, kTimerOff, kRewatch, kTimerOn, kSetMode, kStart, kStarted}));
  EXPECT_EQ(radio_->ScanMode(), 2);
  // The tick that comes after the report sets the status to stopped all the same.
  RunFor(100);
  EXPECT_THAT(Take(), Reads({std::string(kTick) + "0"}));
  EXPECT_THAT(Stop(), Reads({"ret 0"}));
  EXPECT_TRUE(radio_->IsWatching());
  Request(0, false);
  EXPECT_THAT(Stop(), Reads({kStop, "ret 0"}));
}

TEST_F(ScanningTest, AStartWhileStoppingWaitsForTheTickAtMost) {
  Scan(kUuid, 0, false);
  StopScan();
  Request(2, false);
  StopScan();  // Does not take the start back.
  EXPECT_THAT(After([&] { RunFor(100); }), Reads({std::string(kTick) + "1", kTimerOff, kRewatch,
                                                  kTimerOn, kSetMode, kStart, kStarted}));
  // The report that comes after the tick stops the timer, and counts the watcher as stopped.
  ReportStopped();
  EXPECT_THAT(Take(), Reads({kReport, kTimerOff}));
  EXPECT_THAT(Stop(), Reads({"ret 0"}));
}

TEST_F(ScanningTest, TheStoppedCheckIsStartedOnce) {
  Scan(kUuid, 0, false);
  StopScan();
  RunFor(60);
  ReportStopped();
  Scan(kUuid, 0, false);
  StopScan();  // The timer of the first stop is still running and serves the second.
  EXPECT_THAT(After([&] { RunFor(40); }), Reads({std::string(kTick) + "0"}));
  EXPECT_THAT(After([&] { RunFor(1000); }), Reads({}));
}

TEST_F(ScanningTest, TheLibraryMayRefuse) {
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  EXPECT_THAT(Request(2, false),
              Reads({kTimerOn, kSetMode, kStart,
                     "6 InnerWatchBroadcast: ble watch broadcast result: 4", "ret 3"}));
  EXPECT_TRUE(looper_->NextDeadline().has_value());
  EXPECT_THAT(Stop(), Reads({kStop, "ret 0"})) << "counts as started";
  Request(2, false);
  EXPECT_THAT(After([&] { RunFor(100); }),
              Holds({kRewatch, "6 InnerWatchBroadcast: ble watch broadcast result: 4"}));
}

}  // namespace
}  // namespace qvs_test
