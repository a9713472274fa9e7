#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>
#include <plenar_base/looper.h>
#include <plenar_base/main_looper.h>
#include <plenar_base_control/simulated_time.h>

/// A test of what a main looper does whatever its clock is: the machine's or a simulated one. On
/// the machine's clock nothing is asked to wait longer than a few milliseconds.
enum class Clock { kMachine, kSimulated };

class LoopTest : public testing::TestWithParam<Clock> {
 protected:
  LoopTest() {
    if (GetParam() == Clock::kSimulated) {
      simulated_ = std::make_shared<base::time::SimulatedTime>();
    }
    base::time::SetTimeSource(simulated_);
    looper_.emplace();
  }

  ~LoopTest() override {
    looper_.reset();
    base::time::SetTimeSource(nullptr);
  }

  /// Runs the loop, letting time pass, until `Finish` is called in it.
  void RunUntilFinished() {
    if (!simulated_) return looper_->Run();
    for (int ms = 0; ms < 1000 && !finished_; ++ms) simulated_->RunFor(*looper_, 1);
    ASSERT_TRUE(finished_);
    finished_ = false;
  }

  void Finish() {
    finished_ = true;
    if (!simulated_) looper_->Quit();
  }

  static void Post(std::function<void()> task, std::uint64_t delay_ms = 0) {
    base::threading::LooperThread::MainLooper()->PostTask(std::move(task), delay_ms,
                                                          {__FILE__, __LINE__});
  }

  std::shared_ptr<base::time::SimulatedTime> simulated_;
  std::optional<base::threading::MainLooperScope> looper_;

 private:
  bool finished_ = false;
};

inline void PrintTo(Clock clock, std::ostream* out) {
  *out << (clock == Clock::kMachine ? "MachineClock" : "SimulatedClock");
}

inline constexpr auto kClocks = {Clock::kMachine, Clock::kSimulated};
inline std::string ClockName(const testing::TestParamInfo<Clock>& info) {
  return testing::PrintToString(info.param);
}
