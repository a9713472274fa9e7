#include <plenar_base/timer.h>

#include <limits>
#include <vector>

#include "loop_test.h"

using base::threading::CreateTimer;
using base::threading::Timer;

namespace {

constexpr auto kForEver = std::numeric_limits<std::uint64_t>::max();

std::unique_ptr<Timer> MakeTimer(std::function<void()> task) {
  return CreateTimer(std::move(task), {__FILE__, __LINE__});
}

/// A clock that tests set, for a looper that is late.
struct HandClock final : base::time::TimeSource {
  std::uint64_t now = 0;
  [[nodiscard]] std::uint64_t SteadyMilliseconds() const noexcept override { return now; }
  [[nodiscard]] std::uint64_t WallSeconds() const noexcept override { return 0; }
};

}  // namespace

class TimerTest : public LoopTest {};
INSTANTIATE_TEST_SUITE_P(, TimerTest, testing::ValuesIn(kClocks), ClockName);

TEST_P(TimerTest, OneShotTicksOnce) {
  int ticks = 0;
  std::unique_ptr<Timer> timer = MakeTimer([&] {
    ++ticks;
    EXPECT_FALSE(timer->IsRunning());
  });
  EXPECT_FALSE(timer->IsRunning());
  EXPECT_EQ(timer->Interval(), 0u);
  timer->Start(1, false);
  EXPECT_TRUE(timer->IsRunning());
  EXPECT_EQ(timer->Interval(), 1u);
  Post([&] { Finish(); }, 4);
  RunUntilFinished();
  EXPECT_EQ(ticks, 1);
}

TEST_P(TimerTest, RepeatsUntilItIsStoppedInItsOwnTick) {
  int ticks = 0;
  std::unique_ptr<Timer> timer = MakeTimer([&] {
    EXPECT_TRUE(timer->IsRunning());
    if (++ticks < 3) return;
    timer->Stop();
    Post([&] { Finish(); }, 3);
  });
  timer->Start(0, true);
  RunUntilFinished();
  EXPECT_EQ(ticks, 3);
  EXPECT_FALSE(timer->IsRunning());
}

TEST_P(TimerTest, MayBeRestartedOrDestroyedInItsOwnTick) {
  int ticks = 0;
  const auto captured = std::make_shared<int>();
  std::unique_ptr<Timer> timer = MakeTimer([&, captured] {
    if (++ticks == 1) return timer->Start(2, false);
    EXPECT_EQ(timer->Interval(), 2u);
    timer.reset();
    EXPECT_EQ(captured.use_count(), 2);  // the task that runs is still whole
    Post([&] { Finish(); }, 3);
  });
  timer->Start(1, true);
  RunUntilFinished();
  EXPECT_EQ(ticks, 2);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_P(TimerTest, HugeIntervalsDoNotOverflow) {
  auto timer = MakeTimer([] { FAIL(); });
  Post([] { FAIL(); }, kForEver);
  for (const std::uint64_t interval : {kForEver, kForEver - 1}) {
    timer->Start(interval, true);
    Post([&] { Finish(); }, 2);
    RunUntilFinished();
    EXPECT_TRUE(timer->IsRunning());
  }
}

TEST_P(TimerTest, GoesWithoutALooper) {
  auto timer = MakeTimer([] { FAIL(); });
  timer->Start(1, true);
  looper_.reset();
  EXPECT_FALSE(timer->IsRunning());
  timer->Start(1, true);
  EXPECT_FALSE(timer->IsRunning());
  looper_.emplace();
  Post([&] { Finish(); }, 3);
  RunUntilFinished();
  timer->Stop();
}

TEST(LateTimerTest, TicksOnceAndKeepsItsPhase) {
  const auto clock = std::make_shared<HandClock>();
  base::time::SetTimeSource(clock);
  base::threading::MainLooperScope looper;
  int ticks = 0;
  auto timer = MakeTimer([&] { ++ticks; });
  timer->Start(10, true);
  struct {
    std::uint64_t now;
    int ticks;
  } const steps[] = {{9, 0},
                     {10, 1},
                     {20, 2},
                     {57, 3},
                     {59, 3},
                     {60, 4},
                     {1'000'000'000'005, 5},
                     {1'000'000'000'010, 6}};
  for (const auto& step : steps) {
    clock->now = step.now;
    looper.RunUntilIdle();
    EXPECT_EQ(ticks, step.ticks) << step.now;
  }
}

TEST(LateTimerTest, WhatIsDueTogetherRunsInOrderOfScheduling) {
  const auto clock = std::make_shared<HandClock>();
  base::time::SetTimeSource(clock);
  base::threading::MainLooperScope looper;
  std::vector<int> ran;
  auto first = MakeTimer([&] { ran.push_back(1); });
  auto second = MakeTimer([&] { ran.push_back(2); });
  second->Start(10, false);
  first->Start(10, false);
  base::threading::LooperThread::MainLooper()->PostTask([&] { ran.push_back(3); }, 10,
                                                        {__FILE__, __LINE__});
  second->Start(10, false);
  clock->now = 10;
  looper.RunUntilIdle();
  EXPECT_EQ(ran, (std::vector{1, 3, 2}));
}
