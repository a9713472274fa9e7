#include <plenar_base/future.h>

#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <plenar_base_control/simulated_time.h>

using namespace base::future;
using TextFuture = FutureClient<std::string>;

constexpr base::Location kHere{__FILE__, __LINE__};

TEST(FutureTest, RunsItsOneContinuationOnceWhicheverComesFirst) {
  base::threading::MainLooperScope looper;
  for (const bool value_first : {false, true}) {
    for (const auto& executor : {std::shared_ptr<FutureExecutor>(), MainLooperExecutor()}) {
      const auto future = std::make_shared<TextFuture>();
      std::string seen;
      const auto then = [&] {
        future->Then([&](const auto& text) { seen += text, throw 1; }, executor, kHere);
      };
      if (!value_first) then();
      EXPECT_TRUE(future->SetValue("one", 0, kHere));
      EXPECT_FALSE(future->SetValue("two", 0, kHere));
      then();
      EXPECT_EQ(seen, executor ? "" : "one");
      looper.RunUntilIdle();
      EXPECT_EQ(seen, "one");
    }
  }
}

TEST(FutureTest, WhatItPostedWaitsAndDoesNotKeepItAlive) {
  base::time::SetTimeSource(std::make_shared<base::time::SimulatedTime>());
  base::threading::MainLooperScope looper;
  const auto captured = std::make_shared<int>();
  auto future = std::make_shared<TextFuture>();
  future->SetValue("value", 70, kHere);
  future->Then([captured](const std::string&) {}, MainLooperExecutor(), kHere);
  EXPECT_EQ(looper.NextDeadline(), 70u);
  future.reset();
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(FutureTest, ItsContinuationMayDropTheLastOwner) {
  auto future = std::make_shared<TextFuture>();
  const std::weak_ptr<TextFuture> owned = future;
  future->SetValue("value", 0, kHere);
  future->Then([&](const std::string&) { future.reset(); }, nullptr, kHere);
  EXPECT_TRUE(owned.expired());
}

TEST(FutureTest, ARaceOfValueAndContinuationRunsItOnce) {
  for (int round = 0; round < 500; ++round) {
    TextFuture future;
    std::atomic<int> runs{0};
    std::atomic<bool> go{false};
    std::jthread producer([&] {
      go = true;
      future.SetValue("value", 0, kHere);
    });
    while (!go) std::this_thread::yield();
    future.Then([&](const std::string& text) { runs += text == "value" ? 1 : 9; }, nullptr, kHere);
    producer.join();
    ASSERT_EQ(runs, 1);
  }
}
