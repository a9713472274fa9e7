// The broadcast watcher and its timers.
#include <limits>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using ScanningStory = StoryTest<ServiceTest>;

TEST_F(ScanningStory, TranslatesTheModeAndRunsTheTimerAsAsked) {
  for (const bool continuous : {false, true}) {
    for (const unsigned host_mode : {0u, 1u, 2u, 1u, 3u, ~0u}) {
      Scan(kUuid, host_mode, continuous);
      EXPECT_EQ(UntilTick(), continuous || host_mode == 2 ? 500u : 0u);
    }
  }
  StopScan();
  StopScan();
}

TEST_F(ScanningStory, ReportsWhatIsNewOnceAnInterval) {
  Scan(kUuid, 0, true, 200);
  Scan(kUuid, 0, true, 1000);  // a running timer keeps its period
  Wait(200);
  Hear(Broadcast("a"));
  Wait(199);
  Wait(1);
  Wait(1000);
  for (const std::uint64_t interval :
       {std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
    Scan(kUuid, 0, false);
    Scan(kUuid, 0, true, interval);
    Hear(Broadcast("a"));
    Wait(10);
  }
}

TEST_F(ScanningStory, AStopWithoutAStartStillChangesTheWatchedUuid) {
  Scan("one", 0, false);
  StopScan("one");
  Wait(100);
  StopScan("two");
  for (const char* uuid : {"one", "two"}) Hear(Broadcast(uuid, {uuid}));
}

TEST_F(ScanningStory, StoppingEndsWithTheTickOrTheReport) {
  Scan(kUuid, 2, false);
  StopScan();
  Wait(99);
  Wait(1);
  EXPECT_GT(UntilTick(), 0u) << "the tick does not touch the other timer";
  StopScan();
  ReportStopped(-9);
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(ScanningStory, AStartWhileStoppingWaitsForTheReport) {
  Scan(kUuid, 0, false);
  StopScan();
  Scan(kUuid, 1, true);
  ReportStopped();
  Wait(100);  // the tick counts the watcher as stopped all the same
  StopScan();
  Scan(kUuid, 0, false);
  StopScan();
}

TEST_F(ScanningStory, AStartWhileStoppingWaitsForTheTickAtMost) {
  Scan(kUuid, 0, false);
  StopScan();
  Scan(kUuid, 2, false);
  StopScan();  // does not take the start back
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  Wait(100);
  ReportStopped();
  StopScan();
}

TEST_F(ScanningStory, TheStoppedCheckIsStartedOnce) {
  Scan(kUuid, 0, false);
  StopScan();
  Wait(60);
  ReportStopped();
  Scan(kUuid, 0, false);
  StopScan();  // the timer of the first stop is still running and serves the second
  Wait(40);
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(ScanningStory, TheLibraryMayRefuse) {
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  Scan(kUuid, 2, false);
  StopScan();  // counts as started
}

}  // namespace
}  // namespace qvs_test
