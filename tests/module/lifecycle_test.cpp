// Retries within the daily budget, and shut-down.
#include <functional>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr int kDay = 86'400;  // seconds
constexpr char kCheck[] = "ble BleCheckState()";
constexpr char kNextDay[] = "6 DoInitCheckCallback: the next day,reset has_retry_time_ = 0";

/// A host whose adapter is temporarily unavailable from the start: the service waits, down.
class RetryTest : public ModuleTest {
 protected:
  void SetUp() override {
    SetAdapter(6);
    Start();
  }
};

TEST_F(RetryTest, TheBudgetSetsTheInterval) {
  const std::pair<int, std::uint64_t> cases[] = {{1, 3000}, {9, 3000}, {10, 30'000}, {500, 30'000}};
  for (const auto& [budget, interval] : cases) {
    EXPECT_EQ(Init(budget), 4);
    EXPECT_EQ(Take(kLog).back(),
              "6 StartInitCheckTimer: enter, has_retry_time_ = 0,retry_time_ = " +
                  std::to_string(budget));
    EXPECT_EQ(UntilTick(), interval) << budget;
    RunFor(1000);
    Init(budget * 100);
    EXPECT_EQ(UntilTick(), interval - 1000) << "a running timer keeps its period";
    Restart();
  }
}

TEST_F(RetryTest, GivesUpWhenTheBudgetIsUsedUp) {
  Init(3);
  Take();
  RunFor(8999);
  EXPECT_THAT(Take(), ElementsAre(kCheck, kCheck)) << "no line: the adapter is as it was";
  RunFor(1);
  EXPECT_THAT(Take(),
              ElementsAre(kCheck, "6 StopInitCheckTimer: enter",
                          "6 DoInitCheckCallback: has_retry_time_ >= retry_time_, stop timer",
                          "6 ReportRetryInfo: report success", RetryInfo(false, 3)));
  // Each further `Init` has one more tick.
  for (const int used : {4, 5}) {
    EXPECT_EQ(UntilTick(), 0u);
    Init(3);
    RunFor(3000);
    EXPECT_THAT(Take(kEvent), ElementsAre(RetryInfo(false, used)));
  }
}

TEST_F(RetryTest, ComesUpAtTheTickThatFindsTheAdapter) {
  pc_.SetDiscoverable(false);  // which a re-check does not ask for
  Init(5);
  RunFor(3000);
  SetAdapter(0);
  Take();
  RunFor(3000);
  EXPECT_THAT(Take(), ElementsAre(kCheck, "6 StopInitCheckTimer: enter",
                                  "ble BleClientSetReceivedBroadcastCB(callable=set)",
                                  "ble BleClientSetStoppedWatchBroadcastCB(callable=set)",
                                  "ble BleServerSetStatusChangedCB(callable=set)",
                                  "6 DoInitCheckCallback: ble init success", kCheck,
                                  "6 CheckBleState: ble state change from: 1, to: 0", "state 0",
                                  "6 ReportRetryInfo: report success", RetryInfo(true, 2)));
  EXPECT_EQ(UntilTick(), 0u);
  EXPECT_EQ(pc_.WindowCount(), 1u);
  CheckState();
  EXPECT_THAT(Take(kEvent), IsEmpty()) << "the report was made";
}

TEST_F(RetryTest, ATickThatSucceedsSetsTheCountBackBeforeTheBudgetIsTested) {
  for (const int budget_at_the_tick : {1, 0}) {
    Init(1);
    Init(budget_at_the_tick);  // replaces the budget; the timer goes on
    SetAdapter(0);
    Take();
    RunFor(3000);
    Lines events = {"state 0", RetryInfo(true, 1)};
    if (budget_at_the_tick == 0) events.push_back(RetryInfo(false, 0));
    EXPECT_EQ(Take(kEvent), events);
    Restart();
  }
}

TEST_F(RetryTest, MoreThanADayAfterTheFirstTickANewPeriodBegins) {
  // The jump of the clock comes on top of the three seconds between the two ticks.
  const std::pair<std::int64_t, bool> cases[] = {
      {kDay - 3, false}, {kDay - 2, true}, {-3, false}, {-4, true}};
  for (const auto& [jump, another_day] : cases) {
    Init(2);
    RunFor(3000);
    time_->JumpWall(jump);
    RunFor(3000);
    EXPECT_THAT(Take(kLog), Contains(kNextDay).Times(another_day)) << jump;
    EXPECT_EQ(UntilTick(), another_day ? 3000u : 0u) << jump << ": tested before the budget";
    RunFor(3000);
    EXPECT_THAT(Take(kLog), Not(Contains(kNextDay))) << jump;
    Restart();
  }
}

TEST_F(RetryTest, ASecondSetUpWhileUpLeaksNothing) {
  Init(5);
  SetAdapter(0);
  EXPECT_EQ(Init(5), 0);  // does not stop the timer, which sets up again
  Take();
  RunFor(3000);
  EXPECT_THAT(Take(kEvent), ElementsAre("state 0", RetryInfo(true, 1), RetryInfo(true, 1)));
  EXPECT_EQ(pc_.WindowCount(), 1u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  ChangeDevices();
  EXPECT_THAT(Take(kLog), ElementsAre("6 MessageWndProc: system ble setting changed"));
}

TEST_F(RetryTest, AReportThatNobodyHearsIsOwed) {
  for (const bool success : {false, true}) {
    Init(3);
    UnInit();  // not up: nothing changes
    DestroyService(service_);
    if (success) SetAdapter(0);
    Take();
    RunFor(9000);
    EXPECT_THAT(Take(kLog), Contains("6 ReportRetryInfo: report failed"));
    SetAdapter(0);
    service_ = CreateService();
    EXPECT_THAT(Take(kEvent), IsEmpty());
    CheckState();
    EXPECT_THAT(Take(kEvent), ElementsAre(RetryInfo(true, success ? 0 : 3)));
    Restart();
  }
}

// What closes the gate is the library's handle, not whether somebody keeps the library loaded.
TEST_F(RetryTest, TheReCheckCallsNothingThroughAClosedGate) {
  Init(3);
  SetAdapter(0);
  EXPECT_EQ(Init(3), 0);  // leaves the retry timer running
  UnInit();
  EXPECT_GT(LoadCount(), 0);
  Take();
  RunFor(60'000);
  EXPECT_THAT(Take(),
              ElementsAre("6 StopInitCheckTimer: enter",
                          "6 DoInitCheckCallback: has_retry_time_ >= retry_time_, stop timer",
                          "6 ReportRetryInfo: report failed"))
      << "a check that is refused is one that fails, so the budget runs out";
  SetAdapter(6);
  Init(3);
  radio_->SetResult("BleInit", 1);
  EXPECT_EQ(Init(3), 3);
  Take();
  RunFor(3000);
  EXPECT_THAT(Take(kBle), IsEmpty());
}

using LifecycleTest = ServiceTest;

TEST_F(LifecycleTest, TakesDownAndBringsUpAgain) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(UnInit(), 0);
    EXPECT_THAT(
        Take(kUsual | kWindows),
        ElementsAre("6 UnInit: start ble uninit...", "ble BleUnInit()", "win FreeLibrary(*)",
                    "win DestroyWindow(*)", "win UnregisterDeviceNotification(*)",
                    "6 UnInit: ble uninit success", "ret 0"));
    EXPECT_EQ(UnInit(), 1);
    EXPECT_THAT(Take(kUsual | kWindows), ElementsAre("3 UnInit: ble is not inited", "ret 1"));
    EXPECT_EQ(Init(0), 0);
    EXPECT_THAT(Take(kWindows),
                AllOf(Contains("win CreateWindowExA(0, \"PlenarBLEStateClass\", null, 13565952, 0, "
                               "0, 0, 0, null, null, *, null)"),
                      Contains("win RegisterDeviceNotificationA(*, *, 0)"),
                      Not(Contains(HasSubstr("win Destroy")))));
    EXPECT_EQ(pc_.WindowCount(), 1u);
    EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  }
}

TEST_F(LifecycleTest, EveryRequestIsRefusedWhenDown) {
  UnInit();
  Take();
  const std::pair<const char*, std::function<int()>> calls[] = {
      {"CheckBleState", [this] { return CheckState(true); }},
      {"BleStartBroadcast", [this] { return Advertise("not a uuid", ""); }},
      {"BleStartWatchBroadcast", [this] { return Scan(kUuid, 0, true); }},
  };
  for (const auto& [function, call] : calls) {
    EXPECT_EQ(call(), 1);
    EXPECT_THAT(Take(), ElementsAre("3 " + std::string(function) + ": ble is not inited", "ret 1"));
  }
  EXPECT_EQ(GetCache(), 0);
}

TEST_F(LifecycleTest, StateOutlivesUnInit) {
  Advertise(kUuid, "data");
  Scan(kUuid, 1, false);
  Hear(Broadcast("a"));
  CheckState();
  radio_->SetAutomaticReports(false);  // A library that does not tell of the publisher's end.
  UnInit();
  Init(0);
  Settle();
  Take();
  ChangeDevices();
  EXPECT_THAT(Take(kEvent), ElementsAre(RetryInfo(true, 0))) << "the state is no change";
  StopScan();
  EXPECT_THAT(Take(), Contains("ble BleClientStopWatchBroadcast()"));
  GetCache();
  Hear(Broadcast("b"));
  EXPECT_THAT(Take(kEvent), ElementsAre(AllOf(HasSubstr("\"a\""), HasSubstr("\"b\""))));
}

}  // namespace
}  // namespace qvs_test
