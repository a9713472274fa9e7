// Retries within the daily budget, and shut-down.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr std::int64_t kDay = 86'400;  // seconds

/// A host whose adapter is temporarily unavailable from the start: the service waits, down.
class RetryTest : public ModuleTest {
 protected:
  void SetUp() override {
    SetAdapter(6);
    Start();
  }
};
using RetryStory = StoryTest<RetryTest>;

TEST_F(RetryTest, TheBudgetSetsTheInterval) {
  const std::pair<int, std::uint64_t> cases[] = {{1, 3000}, {9, 3000}, {10, 30'000}, {500, 30'000}};
  for (const auto& [budget, interval] : cases) {
    EXPECT_EQ(Init(budget), 4);
    EXPECT_EQ(UntilTick(), interval) << budget;
    RunFor(1000);
    Init(budget * 100);
    EXPECT_EQ(UntilTick(), interval - 1000) << "a running timer keeps its period";
    Restart();
  }
}

TEST_F(RetryStory, GivesUpWhenTheBudgetIsUsedUp) {
  Unrecorded([this] { Init(3); });
  Wait(8999);
  Wait(1);
  EXPECT_EQ(UntilTick(), 0u);
  Init(3);  // has one more tick
  Wait(3000);
  EXPECT_EQ(UntilTick(), 0u);
}

TEST_F(RetryStory, ComesUpAtTheTickThatFindsTheAdapter) {
  pc_.SetDiscoverable(false);  // which a re-check does not ask for
  Init(5);
  Wait(3000);
  SetAdapter(0);
  Wait(3000);
  EXPECT_EQ(UntilTick(), 0u);
  EXPECT_EQ(pc_.WindowCount(), 1u);
  CheckState();  // the report was made
}

TEST_F(RetryStory, SetsTheCountBackAtATickThatSucceedsBeforeTheBudgetIsTested) {
  for (const int budget_at_the_tick : {1, 0}) {
    Unrecorded([&] {
      Init(1);
      Init(budget_at_the_tick);  // replaces the budget; the timer goes on
      SetAdapter(0);
    });
    Wait(3000);
    Restart();
  }
}

TEST_F(RetryTest, MoreThanADayAfterTheFirstTickANewPeriodBegins) {
  // The jump of the clock comes on top of the three seconds between the two ticks.
  const std::pair<std::int64_t, bool> cases[] = {
      {kDay - 3, false}, {kDay - 2, true}, {-3, false}, {-4, true}};
  const char line[] = "6 DoInitCheckCallback: the next day,reset has_retry_time_ = 0";
  for (const auto& [jump, another_day] : cases) {
    Init(2);
    RunFor(3000);
    time_->JumpWall(jump);
    RunFor(3000);
    EXPECT_THAT(Take(kLog), Contains(line).Times(another_day)) << jump;
    EXPECT_EQ(UntilTick(), another_day ? 3000u : 0u) << jump << ": tested before the budget";
    RunFor(3000);
    EXPECT_THAT(Take(kLog), Not(Contains(line))) << jump;
    Restart();
  }
}

TEST_F(RetryStory, SetsUpTwiceAndLeaksNothing) {
  Init(5);
  SetAdapter(0);
  Init(5);  // does not stop the timer, which sets up again
  Take();
  Wait(3000);
  EXPECT_EQ(pc_.WindowCount(), 1u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  ChangeDevices();
}

TEST_F(RetryStory, OwesAReportThatNobodyHears) {
  for (const bool success : {false, true}) {
    Unrecorded([this] { Init(3); });
    UnInit();  // not up: nothing changes
    DestroyService(service_);
    if (success) SetAdapter(0);
    Wait(9000);
    SetAdapter(0);
    service_ = CreateService();
    CheckState();
    Restart();
  }
}

// What closes the gate is the library's handle, not whether somebody keeps the library loaded.
TEST_F(RetryStory, CallsNothingThroughAClosedGate) {
  Unrecorded([this] { Init(3); });
  SetAdapter(0);
  Init(3);  // leaves the retry timer running
  UnInit();
  EXPECT_GT(LoadCount(), 0);
  Wait(60'000);  // a check that is refused is one that fails, so the budget runs out
}

using LifecycleStory = StoryTest<ServiceTest>;

TEST_F(LifecycleStory, TakesDownAndBringsUpAgain) {
  UnInit();
  EXPECT_EQ(pc_.WindowCount() + pc_.DeviceNotificationCount(), 0u);
  UnInit();
  Init(0);
  EXPECT_EQ(pc_.WindowCount(), 1u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  kinds_ |= kWindows;
}

TEST_F(LifecycleStory, RefusesEveryRequestWhenDown) {
  UnInit();
  CheckState(true);
  Advertise("not a uuid", "");
  StopAdvertising();
  Scan(kUuid, 0, true);
  GetCache();
}

TEST_F(LifecycleStory, KeepsItsStateOverUnInit) {
  Advertise(kUuid, "data");
  ReportStatus(2);
  Scan(kUuid, 1, false);
  Hear(Broadcast("a"));
  CheckState();
  UnInit();  // of the publisher's end the library does not tell
  Init(0);
  Take();
  ChangeDevices();
  Advertise(kUuid, "data");
  StopScan();
  GetCache();
  Hear(Broadcast("b"));
}

}  // namespace
}  // namespace qvs_test
