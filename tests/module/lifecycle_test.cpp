// Retries within the daily budget, and shut-down.
#include <algorithm>
#include <functional>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr int kDay = 86'400;  // seconds

/// A host whose adapter is temporarily unavailable from the start: the service waits, down.
class RetryTest : public ModuleTest {
 protected:
  void SetUp() override {
    SetAdapter(6);
    Start();
  }

  void SetAdapter(int error) { radio_->SetResult("BleCheckState", error); }

  /// The milliseconds until the next tick; 0 while no timer runs.
  [[nodiscard]] std::uint64_t UntilTick() const {
    return looper_->NextDeadline().value_or(time_->SteadyMilliseconds()) -
           time_->SteadyMilliseconds();
  }

  /// How many ticks ran, seen by their adapter checks, while this time passed.
  std::ptrdiff_t Ticks(std::uint64_t milliseconds) {
    const auto lines = After([&] { RunFor(milliseconds); }, kBle);
    return std::count(lines.begin(), lines.end(), "ble BleCheckState()");
  }
};

TEST_F(RetryTest, TheBudgetSetsTheInterval) {
  const std::pair<int, std::uint64_t> cases[] = {{1, 3000}, {9, 3000}, {10, 30'000}, {500, 30'000}};
  for (const auto& [budget, interval] : cases) {
    const auto number = std::to_string(budget);
    EXPECT_EQ(Init(budget), 4);
    EXPECT_THAT(
        Take(kLog),
        Reads({"6 CheckSignature: *", "6 Init: start ble init...,retry_time = " + number,
               "3 Init: ble state is wrong, err: 6",
               "6 StartInitCheckTimer: enter, has_retry_time_ = 0,retry_time_ = " + number}));
    EXPECT_EQ(UntilTick(), interval) << budget;
    Restart();
  }
}

TEST_F(RetryTest, GivesUpWhenTheBudgetIsUsedUp) {
  Init(3);
  EXPECT_THAT(After([&] { RunFor(8999); }), Reads({"ble BleCheckState()", "ble BleCheckState()"}))
      << "an adapter that is still not usable is not logged";
  EXPECT_THAT(After([&] { RunFor(1); }),
              Reads({"ble BleCheckState()", "6 StopInitCheckTimer: enter",
                     "6 DoInitCheckCallback: has_retry_time_ >= retry_time_, stop timer",
                     "6 ReportRetryInfo: report success", RetryInfo(false, 3)}));
  EXPECT_EQ(CheckState(), 1);
  // Each further `Init` has one more tick.
  for (const int used : {4, 5}) {
    EXPECT_EQ(UntilTick(), 0u);
    Init(3);
    EXPECT_EQ(UntilTick(), 3000u);
    EXPECT_THAT(After([&] { RunFor(3000); }, kEvent), Reads({RetryInfo(false, used)}));
  }
}

TEST_F(RetryTest, ComesUpAtTheTickThatFindsTheAdapter) {
  Init(5);
  RunFor(3000);
  SetAdapter(0);
  EXPECT_THAT(
      After([&] { RunFor(3000); }),
      Reads({"ble BleCheckState()", "6 StopInitCheckTimer: enter",
             "ble BleClientSetReceivedBroadcastCB(*)", "ble BleClientSetStoppedWatchBroadcastCB(*)",
             "ble BleServerSetStatusChangedCB(*)", "6 DoInitCheckCallback: ble init success",
             "ble BleCheckState()", "6 CheckBleState: ble state change from: 1, to: 0", "state 0",
             "6 ReportRetryInfo: report success", RetryInfo(true, 2)}));
  EXPECT_EQ(UntilTick(), 0u);
  EXPECT_EQ(pc_.WindowCount(), 1u);
  CheckState();
  EXPECT_THAT(Take(kEvent), Reads({})) << "the report was made";
}

TEST_F(RetryTest, ATickThatSucceedsSetsTheCountBackBeforeTheBudgetIsTested) {
  const std::pair<int, Lines> cases[] = {
      {1, {"state 0", RetryInfo(true, 1)}},
      {0, {"state 0", RetryInfo(true, 1), RetryInfo(false, 0)}},
  };
  for (const auto& [budget_at_the_tick, events] : cases) {
    Init(1);
    Init(budget_at_the_tick);  // Replaces the budget; the timer goes on.
    SetAdapter(0);
    EXPECT_THAT(After([&] { RunFor(3000); }, kEvent), Reads(events));
    Restart();
  }
}

TEST_F(RetryTest, ARunningTimerKeepsItsPeriod) {
  Init(5);
  RunFor(1000);
  Init(100);
  EXPECT_EQ(UntilTick(), 2000u);
  EXPECT_EQ(Ticks(9000), 3);
}

TEST_F(RetryTest, MoreThanADayAfterTheFirstTickANewPeriodBegins) {
  Init(4000);  // The first tick comes after 30 s.
  EXPECT_EQ(Ticks(30'000 + kDay * 1000u), 2881) << "exactly a day is not more than a day";
  RunFor(30'000);
  EXPECT_THAT(Take(), Reads({"ble BleCheckState()",
                             "6 DoInitCheckCallback: the next day,reset has_retry_time_ = 0"}));
  EXPECT_EQ(Ticks(30'000 + kDay * 1000u), 2881) << "more than the first period had left";
  EXPECT_EQ(UntilTick(), 30'000u);
}

TEST_F(RetryTest, TheDayIsTestedBeforeTheBudget) {
  // The jump comes on top of the three seconds between the two ticks.
  const std::pair<std::int64_t, bool> cases[] = {
      {kDay - 3, false}, {kDay - 3 + 1, true}, {-3, false}, {-4, true}};
  for (const auto& [clock_jump, another_day] : cases) {
    Init(2);
    RunFor(3000);
    time_->JumpWall(clock_jump);
    Take();
    RunFor(3000);
    EXPECT_EQ(UntilTick(), another_day ? 3000u : 0u) << clock_jump;
    EXPECT_EQ(Take(kLog).front() == "6 DoInitCheckCallback: the next day,reset has_retry_time_ = 0",
              another_day)
        << clock_jump;
    Restart();
  }
}

TEST_F(RetryTest, ASecondSetUpWhileUpLeaksNothing) {
  Init(5);
  SetAdapter(0);
  EXPECT_EQ(Init(5), 0);  // Does not stop the timer, which sets up again.
  EXPECT_THAT(
      After([&] { RunFor(3000); }, kBle | kEvent),
      Reads({"ble BleCheckState()", "ble BleClientSetReceivedBroadcastCB(*)",
             "ble BleClientSetStoppedWatchBroadcastCB(*)", "ble BleServerSetStatusChangedCB(*)",
             "ble BleCheckState()", "state 0", RetryInfo(true, 1), RetryInfo(true, 1)}));
  EXPECT_EQ(pc_.WindowCount(), 1u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  ChangeDevices();
  EXPECT_THAT(Take(kLog), Reads({"6 MessageWndProc: system ble setting changed"}));
}

TEST_F(RetryTest, AReportThatNobodyHearsIsOwed) {
  for (const bool success : {false, true}) {
    Init(3);
    UnInit();  // Not up: nothing changes.
    DestroyService(service_);
    if (success) SetAdapter(0);
    EXPECT_THAT(After([&] { RunFor(9000); }, kLog), Holds({"6 ReportRetryInfo: report failed"}));
    SetAdapter(0);
    service_ = CreateService();
    EXPECT_THAT(Take(kEvent), Reads({}));
    EXPECT_THAT(After([&] { CheckState(); }, kEvent), Reads({RetryInfo(true, success ? 0 : 3)}));
    Restart();
  }
}

// What closes the gate is the library's handle, not whether somebody keeps the library loaded.
TEST_F(RetryTest, TheInitCheckCallsNothingAfterShutDown) {
  Init(3);
  SetAdapter(0);
  EXPECT_EQ(Init(3), 0);  // Leaves the retry timer running.
  UnInit();
  EXPECT_GT(LoadCount(), 0);
  // A check through the closed gate is a check that fails, so the budget runs out.
  EXPECT_THAT(After([&] { RunFor(60'000); }),
              Reads({"6 StopInitCheckTimer: enter",
                     "6 DoInitCheckCallback: has_retry_time_ >= retry_time_, stop timer",
                     "6 ReportRetryInfo: report failed"}));
}

TEST_F(RetryTest, AFailedInitialisationClosesTheGate) {
  Init(3);
  radio_->SetResult("BleInit", 1);
  EXPECT_EQ(Init(3), 3);
  EXPECT_THAT(After([&] { RunFor(3000); }), Reads({}));
}

using LifecycleTest = ServiceTest;

TEST_F(LifecycleTest, UnInitTwice) {
  EXPECT_EQ(UnInit(), 0);
  EXPECT_THAT(Take(kUsual | kWindows),
              Holds({"6 UnInit: start ble uninit...", "ble BleUnInit()", "win FreeLibrary(*)",
                     "win DestroyWindow(*)", "win UnregisterDeviceNotification(*)",
                     "6 UnInit: ble uninit success", "ret 0"}));
  EXPECT_EQ(UnInit(), 1);
  EXPECT_THAT(Take(kUsual | kWindows), Reads({"3 UnInit: ble is not inited", "ret 1"}));
}

TEST_F(LifecycleTest, EveryRequestIsRefusedWhenDown) {
  UnInit();
  Take();
  const std::function<int()> calls[] = {
      [this] { return CheckState(true); },  [this] { return Advertise("not a uuid", ""); },
      [this] { return StopAdvertising(); }, [this] { return Scan(kUuid, 0, true); },
      [this] { return StopScan(); },
  };
  for (const auto& call : calls) {
    EXPECT_EQ(call(), 1);
    EXPECT_THAT(Take(), Reads({"3 *: ble is not inited", "ret 1"}));
  }
  EXPECT_EQ(GetCache(), 0);
}

TEST_F(LifecycleTest, StateOutlivesUnInit) {
  Advertise(kUuid, "data");
  Scan(kUuid, 1, false);
  Hear(Broadcast("a"));
  CheckState();
  UnInit();
  Init(0);
  Settle();
  EXPECT_THAT(After([&] { ChangeDevices(); }, kEvent), Reads({RetryInfo(true, 0)}))
      << "the state is no change";
  EXPECT_THAT(After([&] { Advertise(kUuid, "data"); }),
              Holds({"4 BleStartBroadcast: repeat broadcast, ignore it", "ret 0"}));
  EXPECT_THAT(After([&] { StopScan(); }), Holds({"ble BleClientStopWatchBroadcast()"}));
  GetCache();
  Hear(Broadcast("b"));
  EXPECT_THAT(Take(kEvent), Reads({"device_json [*\"device_id\":\"a\"*\"device_id\":\"b\"*]"}));
}

}  // namespace
}  // namespace qvs_test
