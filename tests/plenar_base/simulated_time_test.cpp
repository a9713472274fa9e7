#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <plenar_base/looper.h>
#include <plenar_base/time.h>
#include <plenar_base/timer.h>
#include <plenar_base_control/simulated_time.h>

using base::threading::LooperThread;
using base::threading::MainLooperScope;
using base::time::SimulatedTime;

namespace {

/// Posts to the looper at fixed times, as a library with threads of its own does.
class Poster final : public base::time::SimulatedTimeParticipant {
 public:
  Poster(std::vector<std::uint64_t> times, std::function<void()> task)
      : times_(std::move(times)), task_(std::move(task)) {}

  [[nodiscard]] std::optional<std::uint64_t> NextDeadline() override {
    return next_ < times_.size() ? std::optional(times_[next_]) : std::nullopt;
  }

  std::size_t AdvanceTo(std::uint64_t now_ms) override {
    std::size_t done = 0;
    for (; next_ < times_.size() && times_[next_] <= now_ms; ++next_, ++done) {
      LooperThread::MainLooper()->PostTask(task_, 0, {__FILE__, __LINE__});
    }
    return done;
  }

 private:
  const std::vector<std::uint64_t> times_;
  const std::function<void()> task_;
  std::size_t next_ = 0;
};

class SimulatedTimeTest : public testing::Test {
 protected:
  SimulatedTimeTest() { base::time::SetTimeSource(time_); }
  void Note() { seen_.push_back(time_->SteadyMilliseconds()); }

  const std::shared_ptr<SimulatedTime> time_ = std::make_shared<SimulatedTime>(1000);
  std::vector<std::uint64_t> seen_;
};

}  // namespace

TEST_F(SimulatedTimeTest, StepsFromDeadlineToDeadlineOfAll) {
  MainLooperScope looper;
  const auto timer = base::threading::CreateTimer([&] { Note(); }, {__FILE__, __LINE__});
  Poster poster({0, 25, 40, 41}, [&] { Note(); });
  time_->AddParticipant(poster);
  timer->Start(20, true);
  time_->RunFor(looper, 40);
  EXPECT_EQ(seen_, (std::vector<std::uint64_t>{0, 20, 25, 40, 40}));
  time_->RemoveParticipant(poster);
  time_->RunFor(looper, 10);
  EXPECT_EQ(seen_.size(), 5u);
  EXPECT_EQ(time_->SteadyMilliseconds(), 50u);
}

TEST_F(SimulatedTimeTest, DaysPassAndTheWallClockGoesAlong) {
  MainLooperScope looper;
  const auto timer = base::threading::CreateTimer([&] { Note(); }, {__FILE__, __LINE__});
  timer->Start(3'600'000, true);
  time_->RunFor(looper, 48 * 3'600'000);
  EXPECT_EQ(seen_.size(), 48u);
  EXPECT_EQ(util::time::GetTimestamp(), 1000u + 48 * 3600);
  time_->JumpWall(-500);
  EXPECT_EQ(util::time::GetServerTimestamp(util::time::ClockType::kSeconds), 500u + 48 * 3600);
  EXPECT_EQ(time_->SteadyMilliseconds(), 48u * 3'600'000);
}

TEST_F(SimulatedTimeTest, TimeThatPassesInsideATaskMakesTheLooperLate) {
  MainLooperScope looper;
  const auto timer = base::threading::CreateTimer([&] { Note(); }, {__FILE__, __LINE__});
  timer->Start(10, true);
  LooperThread::MainLooper()->PostTask([&] { time_->RunFor(looper, 35); }, 0, {__FILE__, __LINE__});
  time_->RunFor(looper, 10);
  EXPECT_EQ(seen_, (std::vector<std::uint64_t>{35}));
  time_->RunFor(looper, 10);
  EXPECT_EQ(seen_, (std::vector<std::uint64_t>{35, 40}));
  EXPECT_EQ(time_->SteadyMilliseconds(), 45u);
}
