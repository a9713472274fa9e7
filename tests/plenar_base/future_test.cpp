#include <plenar_base/future.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <plenar_base/main_looper.h>

using namespace base::future;

namespace {

constexpr base::Location kHere{__FILE__, __LINE__};

/// Keeps what is posted until the test runs it.
class HandExecutor final : public FutureExecutor {
 public:
  TaskId PostTask(std::function<void()> task, base::Location location) override {
    return PostDelayedTask(0, std::move(task), location);
  }
  TaskId PostDelayedTask(std::uint64_t delay_ms, std::function<void()> task,
                         base::Location) override {
    delays.push_back(delay_ms);
    tasks.push_back(std::move(task));
    return tasks.size();
  }
  void CancelTask(TaskId id) override { cancelled.push_back(id); }

  std::vector<std::function<void()>> tasks;
  std::vector<std::uint64_t> delays;
  std::vector<TaskId> cancelled;
};

using TextFuture = FutureClient<std::string>;

class FutureTest : public testing::Test {
 protected:
  TextFuture::Continuation Note() {
    return [this](const std::string& text) { seen_.push_back(text); };
  }

  const std::shared_ptr<HandExecutor> executor_ = std::make_shared<HandExecutor>();
  std::shared_ptr<TextFuture> future_ = std::make_shared<TextFuture>();
  std::vector<std::string> seen_;
};

}  // namespace

TEST_F(FutureTest, IsCompletedOnce) {
  EXPECT_EQ(future_->GetState(), FutureState::kPending);
  EXPECT_EQ(future_->Value(), "");
  EXPECT_TRUE(future_->SetValue("one", 0, kHere));
  EXPECT_FALSE(future_->SetValue("two", 0, kHere));
  EXPECT_EQ(future_->GetState(), FutureState::kValueSet);
  EXPECT_EQ(future_->Value(), "one");
}

TEST_F(FutureTest, RunsItsOneContinuationInline) {
  future_->Then(Note(), nullptr, kHere);
  EXPECT_TRUE(seen_.empty());
  future_->SetValue("value", 0, kHere);
  future_->Then(Note(), nullptr, kHere);
  EXPECT_EQ(seen_, std::vector<std::string>{"value"});
}

TEST_F(FutureTest, ACompletedOneRunsTheContinuationAtOnce) {
  future_->SetValue("value", 0, kHere);
  future_->Then(nullptr, nullptr, kHere);
  future_->Then(
      [&](const std::string& text) {
        future_.reset();  // the last owner
        seen_.push_back(text);
        throw std::runtime_error("the consumer's affair");
      },
      nullptr, kHere);
  EXPECT_EQ(seen_, std::vector<std::string>{"value"});
}

TEST_F(FutureTest, PostsToItsExecutorWithTheDelay) {
  const auto late = std::make_shared<TextFuture>();
  future_->Then(Note(), executor_, kHere);
  future_->SetValue("now", 0, kHere);
  late->SetValue("later", 70, kHere);
  late->Then(Note(), executor_, kHere);
  EXPECT_EQ(executor_->delays, (std::vector<std::uint64_t>{0, 70}));
  EXPECT_TRUE(seen_.empty());
  for (const auto& task : executor_->tasks) {
    task();
    task();
  }
  EXPECT_EQ(seen_, (std::vector<std::string>{"now", "later"}));
}

TEST_F(FutureTest, APostedTaskDoesNotKeepItAlive) {
  future_->SetValue("value", 0, kHere);
  future_->Then(Note(), executor_, kHere);
  const std::weak_ptr<TextFuture> gone = future_;
  future_.reset();
  EXPECT_TRUE(gone.expired());
  executor_->tasks.at(0)();
  EXPECT_TRUE(seen_.empty());
  EXPECT_TRUE(executor_->cancelled.empty());
}

TEST_F(FutureTest, ItsEndDropsTheContinuationUnrun) {
  const auto captured = std::make_shared<int>();
  future_->Then([captured](const std::string&) { FAIL(); }, executor_, kHere);
  EXPECT_EQ(captured.use_count(), 2);
  future_.reset();
  EXPECT_EQ(captured.use_count(), 1);
  EXPECT_EQ(executor_.use_count(), 1);
}

TEST_F(FutureTest, ARaceOfValueAndContinuationRunsItOnce) {
  for (int round = 0; round < 500; ++round) {
    const auto future = std::make_shared<TextFuture>();
    std::atomic<int> runs{0};
    std::atomic<int> ready{0};
    const auto meet = [&ready] {
      for (++ready; ready < 2;) std::this_thread::yield();
    };
    std::thread producer([&] {
      meet();
      future->SetValue("value", 0, kHere);
    });
    meet();
    future->Then([&](const std::string& text) { runs += text == "value" ? 1 : 100; }, nullptr,
                 kHere);
    producer.join();
    ASSERT_EQ(runs, 1);
  }
}

TEST(MainLooperExecutorTest, RunsOnTheMainLooperAndCancels) {
  const auto executor = MainLooperExecutor();
  EXPECT_EQ(executor->PostTask([] { FAIL(); }, kHere), 0u);
  executor->CancelTask(1);

  base::threading::MainLooperScope looper;
  int ran = 0;
  EXPECT_NE(executor->PostTask([&] { ++ran; }, kHere), 0u);
  const auto cancelled = executor->PostTask([] { FAIL(); }, kHere);
  const auto delayed = executor->PostDelayedTask(
      3'600'000, [] { FAIL(); }, kHere);
  executor->CancelTask(cancelled);
  executor->CancelTask(delayed);
  executor->CancelTask(delayed);
  looper.RunUntilIdle();
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(looper.NextDeadline(), std::nullopt);

  const auto future = MakeVariantFuture();
  future->SetValue(base::variant::MakeVariant(), 0, kHere);
  future->Then([&](const auto& value) { ran += value != nullptr; }, executor, kHere);
  EXPECT_EQ(ran, 1);
  looper.RunUntilIdle();
  EXPECT_EQ(ran, 2);
}
