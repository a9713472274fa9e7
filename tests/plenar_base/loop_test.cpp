#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <plenar_base/looper.h>
#include <plenar_base/timer.h>
#include <plenar_base_control/simulated_time.h>

using namespace base::threading;

constexpr base::Location kHere{__FILE__, __LINE__};

static void Post(std::function<void()> task, std::uint64_t delay_ms = 0) {
  LooperThread::MainLooper()->PostTask(std::move(task), delay_ms, kHere);
}

/// A main looper and its timers, by the machine's clock or by a simulated one. By the machine's
/// nothing waits longer than a few milliseconds, and only what a busy machine cannot change is
/// checked.
class LoopTest : public testing::TestWithParam<bool> {
 protected:
  explicit LoopTest(bool simulated = GetParam()) {
    if (simulated) time_ = std::make_shared<base::time::SimulatedTime>();
    base::time::SetTimeSource(time_);
    looper_.emplace();
  }
  void RunFor(std::uint64_t ms) {
    if (time_) return time_->RunFor(*looper_, ms);
    Post([this] { looper_->Quit(); }, ms);
    looper_->Run();
  }

  std::shared_ptr<base::time::SimulatedTime> time_;
  std::optional<MainLooperScope> looper_;
};
INSTANTIATE_TEST_SUITE_P(Simulated, LoopTest, testing::Bool(), testing::PrintToStringParamName());

struct SimulatedLoopTest : LoopTest {
  SimulatedLoopTest() : LoopTest(true) {}
};

TEST_P(LoopTest, RunsTasksInPostingOrderNoneInsideAnotherAndNoneAfterQuit) {
  std::vector<int> ran;
  Post([&] {
    Post([&] { ran.push_back(3); });
    EXPECT_EQ(looper_->RunUntilIdle(), 0u);
    EXPECT_THROW(looper_->Run(), std::logic_error);
    ran.push_back(1);
    throw 1;  // holds up nobody
  });
  Post([&] { ran.push_back(2), looper_->Quit(); });
  EXPECT_TRUE(ran.empty());
  looper_->Run();
  EXPECT_EQ(ran, (std::vector{1, 2}));
  EXPECT_EQ(looper_->RunUntilIdle(), 1u);
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
}

TEST_P(LoopTest, RunsWhatManyThreadsPost) {
  int left = 4 * 500;
  const auto count_down = [&] {
    if (--left == 0) looper_->Quit();
  };
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) Post(count_down);
    });
  }
  looper_->Run();
}

TEST_P(LoopTest, WhatIsNeverDueIsReleasedUnrunAtShutDown) {
  constexpr auto kForEver = std::numeric_limits<std::uint64_t>::max();
  bool released = false;
  const auto release = [&, looper = LooperThread::MainLooper()](void*) {
    looper->PostTask([] { FAIL(); }, 0, kHere);  // dropped, without a deadlock
    released = true;
  };
  RunFor(1);
  Post([held = std::shared_ptr<void>(nullptr, release)] { FAIL(); }, kForEver);
  const auto timer = CreateTimer([] { FAIL(); }, kHere);
  timer->Start(kForEver, true);
  RunFor(2);
  looper_.reset();
  EXPECT_TRUE(released);
  EXPECT_FALSE(timer->IsRunning());
}

TEST_P(LoopTest, ATimerMayBeRestartedAndDestroyedInItsOwnTick) {
  const auto captured = std::make_shared<int>();
  int ticks = 0;
  std::unique_ptr<Timer> timer;
  const auto tick = [&, captured] {
    EXPECT_EQ(timer->IsRunning(), ++ticks > 1);  // the first is the only one of its start
    if (ticks == 1) timer->Start(1, true);
    if (ticks == 3) timer.reset();
    EXPECT_EQ(captured.use_count(), 3);  // the task that runs is still whole
  };
  timer = CreateTimer(tick, kHere);
  timer->Start(0, false);
  while (timer) RunFor(1);
  RunFor(3);
  EXPECT_EQ(ticks, 3);
}

TEST_F(SimulatedLoopTest, OrdersTasksDelayedTasksAndTicksByTimeThenByPosting) {
  std::string ran;
  const auto post = [&ran](char id, unsigned delay = 0) { Post([&, id] { ran += id; }, delay); };
  const auto timer = CreateTimer([&] { ran += 'T'; }, kHere);
  post('e', 3);
  post('b', 1);
  timer->Start(1, false);
  post('c', 1);
  post('d', 2);
  post('a');
  RunFor(3);
  EXPECT_EQ(ran, "abTcde");

  ran.clear();
  Post([&] {  // a busy looper: time passes inside a task
    post('f', 5);
    RunFor(10);
    post('g');
    timer->Start(1, false);
    post('h', 1);
    RunFor(10);
    post('i');
  });
  looper_->RunUntilIdle();
  EXPECT_EQ(ran, "fgThi");
}

TEST_F(SimulatedLoopTest, ALateTimerTicksOnceAndKeepsItsPhase) {
  constexpr std::uint64_t kLong = 1'000'000'000'000;
  std::vector<std::uint64_t> ticks;
  const auto timer = CreateTimer([&] { ticks.push_back(time_->SteadyMilliseconds()); }, kHere);
  timer->Start(10, true);
  Post([this] { RunFor(kLong + 7); });  // time that passes inside a task
  looper_->RunUntilIdle();
  RunFor(20);
  EXPECT_EQ(ticks, (std::vector{kLong + 7, kLong + 10, kLong + 20}));
}
