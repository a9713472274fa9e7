// The broadcast watcher and its timers.
#include <limits>
#include <utility>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

class ScanningStory : public StoryTest<ServiceTest> {
 protected:
  /// Starts, and begins to stop.
  void Stop() {
    Scan(kUuid, 0, false);
    StopScan();
    Take();
  }
};

TEST_F(ScanningStory, TranslatesTheModeAndRunsTheTimerAsAsked) {
  const std::pair<unsigned, bool> settings[] = {{0, false}, {2, false}, {1, false},  {2, true},
                                                {3, false}, {1, true},  {~0u, false}};
  for (const auto& [host_mode, continuous] : settings) {
    Scan(kUuid, host_mode, continuous);
    EXPECT_EQ(UntilTick(), continuous || host_mode == 2 ? 500u : 0u);
  }
  StopScan();
  StopScan();
}

TEST_F(ScanningStory, ReportsWhatIsNewOnceAnInterval) {
  Scan(kUuid, 0, true, 200);
  Scan(kUuid, 0, true, 1000);  // a running timer keeps its period
  Take();
  Wait(200);
  Hear(Broadcast("a"));
  Wait(199);
  Wait(1);
  Wait(1000);
  for (const std::uint64_t interval :
       {std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
    Unrecorded([this] { Scan(kUuid, 0, false); });
    Scan(kUuid, 0, true, interval);
    Hear(Broadcast("a"));
    Wait(10);
  }
}

TEST_F(ScanningStory, AStopWithoutAStartStillChangesTheWatchedUuid) {
  Scan("one", 0, false);
  StopScan("one");
  RunFor(100);
  Take();
  StopScan("two");
  for (const char* uuid : {"one", "two"}) Hear(Broadcast(uuid, {uuid}));
}

TEST_F(ScanningStory, StoppingEndsWithTheTickOrTheReport) {
  Scan(kUuid, 2, false);
  Take();
  StopScan();
  Wait(99);
  Wait(1);
  EXPECT_GT(UntilTick(), 0u) << "the tick does not touch the other timer";
  StopScan();
  ReportStopped(-9);
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(ScanningStory, AStartWhileStoppingWaitsForTheReport) {
  Stop();
  Scan(kUuid, 1, true);
  ReportStopped();
  Wait(100);  // the tick counts the watcher as stopped all the same
  StopScan();
  Scan(kUuid, 0, false);
  StopScan();
}

TEST_F(ScanningStory, AStartWhileStoppingWaitsForTheTickAtMost) {
  Stop();
  Scan(kUuid, 2, false);
  StopScan();  // does not take the start back
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  Wait(100);
  ReportStopped();
  StopScan();
}

TEST_F(ScanningStory, TheStoppedCheckIsStartedOnce) {
  Stop();
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
