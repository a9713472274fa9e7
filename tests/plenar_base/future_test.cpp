#include <plenar_base/future.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace base::future;
using TextFuture = FutureClient<std::string>;

constexpr base::Location kHere{__FILE__, __LINE__};

/// Runs what it is given when it is told to.
class LaterExecutor final : public FutureExecutor {
 public:
  TaskId PostTask(std::function<void()> task, base::Location where) override {
    return PostDelayedTask(0, std::move(task), where);
  }
  TaskId PostDelayedTask(std::uint64_t delay_ms, std::function<void()> task,
                         base::Location) override {
    last_delay_ms = delay_ms;
    tasks_.push_back(std::move(task));
    return tasks_.size();
  }
  void CancelTask(TaskId id) override {
    tasks_.at(id - 1) = [] {};
  }

  void Run() {
    for (const auto& task : std::exchange(tasks_, {})) task();
  }

  std::uint64_t last_delay_ms = 0;

 private:
  std::vector<std::function<void()>> tasks_;
};

TEST(FutureTest, RunsItsOneContinuationOnceWhicheverComesFirst) {
  const auto later = std::make_shared<LaterExecutor>();
  for (const bool value_first : {false, true}) {
    for (const auto& executor : {std::shared_ptr<LaterExecutor>(), later}) {
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
      later->Run();
      EXPECT_EQ(seen, "one");
    }
  }
}

TEST(FutureTest, WhatItPostedWaitsAndDoesNotKeepItAlive) {
  const auto captured = std::make_shared<int>();
  const auto later = std::make_shared<LaterExecutor>();
  auto future = std::make_shared<TextFuture>();
  future->SetValue("value", 70, kHere);
  future->Then([captured](const std::string&) {}, later, kHere);
  EXPECT_EQ(later->last_delay_ms, 70u);
  future.reset();
  EXPECT_EQ(captured.use_count(), 1);
  later->Run();
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
