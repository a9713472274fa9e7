// The broadcast watcher and its timers.
#include <limits>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kStart[] = "ble BleClientStartWatchBroadcast()";
constexpr char kStop[] = "ble BleClientStopWatchBroadcast()";
constexpr char kTick[] = "6 operator (): need_to_watch_broadcast_:";

std::string SetMode(int mode) {
  return "ble BleClientSetScanMode(mode=" + std::to_string(mode) + ')';
}
std::string Started(int result) {
  return "6 InnerWatchBroadcast: ble watch broadcast result: " + std::to_string(result);
}
std::string Report(int error) {
  return "6 operator (): broadcast wather stopped, err: " + std::to_string(error);
}

class ScanningTest : public QuietServiceTest {
 protected:
  Lines Request(unsigned scan_mode, bool continuous, std::uint64_t interval_ms = 500) {
    Take();
    Scan(kUuid, scan_mode, continuous, interval_ms);
    return TakeAnswer();
  }
  Lines Stop() {
    Take();
    StopScan();
    return TakeAnswer();
  }
};

TEST_F(ScanningTest, TranslatesTheModeAndRunsTheTimerAsAsked) {
  const struct {
    unsigned host_mode;
    bool continuous;
    int mode;
    bool timer;
  } cases[] = {{0, false, 0, false}, {1, false, 2, false}, {2, false, 1, true},
               {1, false, 2, false}, {7, false, 0, false}, {~0u, true, 0, true},
               {1, true, 2, true},   {2, true, 1, true}};
  for (const auto& [host_mode, continuous, mode, timer] : cases) {
    EXPECT_THAT(
        Request(host_mode, continuous),
        ElementsAre(timer ? kTimerOn : kTimerOff, SetMode(mode), kStart, Started(0), "ret 0"))
        << host_mode;
    EXPECT_EQ(UntilTick(), timer ? 500u : 0u) << host_mode << continuous;
  }
  EXPECT_THAT(Stop(), ElementsAre(kStop, "ret 0"));
  EXPECT_THAT(Stop(), ElementsAre("ret 0"));
}

TEST_F(ScanningTest, ReportsWhatIsNewOnceAnInterval) {
  Scan(kUuid, 0, true, 200);
  Scan(kUuid, 0, true, 1000);  // a running timer keeps its period
  RunFor(200);
  EXPECT_THAT(Take(kEvent), IsEmpty()) << "nothing was heard yet";
  Hear(Broadcast("a"));
  RunFor(199);
  EXPECT_THAT(Take(kEvent), IsEmpty());
  RunFor(1);
  EXPECT_THAT(Take(kEvent), ElementsAre(HasSubstr("\"a\"")));
  RunFor(1000);
  EXPECT_THAT(Take(kEvent), IsEmpty()) << "nothing new";
  for (const std::uint64_t interval :
       {std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
    Scan(kUuid, 0, false);
    Scan(kUuid, 0, true, interval);
    Hear(Broadcast("a"));
    RunFor(10);
    EXPECT_THAT(Take(kEvent), testing::SizeIs(interval == 0));
  }
}

TEST_F(ScanningTest, AStopWithoutAStartStillChangesTheWatchedUuid) {
  Scan("one", 0, false);
  StopScan("one");
  RunFor(100);
  StopScan("two");
  Take();
  for (const char* uuid : {"one", "two"}) Hear(Broadcast(uuid, {uuid}));
  EXPECT_THAT(Take(), ElementsAre(kFound + std::string("two")));
}

TEST_F(ScanningTest, StoppingEndsWithTheTickOrTheReport) {
  Scan(kUuid, 2, false);
  StopScan();
  RunFor(99);
  Take();
  RunFor(1);
  EXPECT_THAT(Take(), ElementsAre(std::string(kTick) + '0'));
  EXPECT_GT(UntilTick(), 0u) << "the tick does not touch the timer";
  EXPECT_THAT(Stop(), ElementsAre("ret 0")) << "stopped";
  ReportStopped(-9);
  EXPECT_THAT(Take(), ElementsAre(Report(-9), kTimerOff));
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(ScanningTest, AStartWhileStoppingWaitsForTheReportOrTheTick) {
  Scan(kUuid, 0, false);
  StopScan();
  EXPECT_THAT(Request(1, true),
              ElementsAre("4 BleStartWatchBroadcast: watcher in stopping", "ret 0"));
  ReportStopped();
  EXPECT_THAT(Take(), ElementsAre(Report(0), kTimerOff, kRewatch, kTimerOn, SetMode(2), kStart,
                                  Started(0)));
  // The tick that comes after the report counts the watcher as stopped all the same.
  RunFor(100);
  EXPECT_THAT(Take(), ElementsAre(std::string(kTick) + '0'));
  EXPECT_THAT(Stop(), ElementsAre("ret 0"));
  Request(0, false);
  EXPECT_THAT(Stop(), ElementsAre(kStop, "ret 0"));
  Request(2, false);
  StopScan();  // does not take the start back
  Take();
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  RunFor(100);
  EXPECT_THAT(Take(), ElementsAre(std::string(kTick) + '1', kTimerOff, kRewatch, kTimerOn,
                                  SetMode(1), kStart, Started(4)));
  ReportStopped();
  EXPECT_THAT(Take(), ElementsAre(Report(0), kTimerOff)) << "rewatches once only";
}

TEST_F(ScanningTest, TheStoppedCheckIsStartedOnce) {
  Scan(kUuid, 0, false);
  StopScan();
  RunFor(60);
  ReportStopped();
  Scan(kUuid, 0, false);
  StopScan();  // the timer of the first stop is still running and serves the second
  Take();
  RunFor(40);
  EXPECT_THAT(Take(), ElementsAre(std::string(kTick) + '0'));
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(ScanningTest, TheLibraryMayRefuse) {
  radio_->SetResult("BleClientStartWatchBroadcast", 4);
  EXPECT_THAT(Request(2, false), ElementsAre(kTimerOn, SetMode(1), kStart, Started(4), "ret 3"));
  EXPECT_THAT(Stop(), ElementsAre(kStop, "ret 0")) << "counts as started";
}

}  // namespace
}  // namespace qvs_test
