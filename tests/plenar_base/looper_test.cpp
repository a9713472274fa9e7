#include <windows.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <thread>
#include <vector>

#include "loop_test.h"

using base::threading::LooperThread;
using base::threading::MainLooperScope;

class LooperTest : public LoopTest {};
INSTANTIATE_TEST_SUITE_P(, LooperTest, testing::ValuesIn(kClocks), ClockName);

TEST_P(LooperTest, RunsTasksInPostingOrderAndNeverInsideThePost) {
  std::vector<int> ran;
  Post([&] {
    Post([&] { ran.push_back(3); });
    Post([&] { ran.push_back(4); });
    ran.push_back(1);
  });
  Post([&] { ran.push_back(2); });
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(looper_->RunUntilIdle(), 4u);
  EXPECT_EQ(ran, (std::vector{1, 2, 3, 4}));
}

TEST_P(LooperTest, RunsDelayedTasksInOrderOfTheirDueTime) {
  std::vector<int> ran;
  Post([&] { ran.push_back(3), Finish(); }, 3);
  Post([&] { ran.push_back(1); }, 1);
  Post([&] { ran.push_back(2); }, 2);
  Post([&] { ran.push_back(0); });
  RunUntilFinished();
  EXPECT_EQ(ran, (std::vector{0, 1, 2, 3}));
  EXPECT_EQ(looper_->NextDeadline(), std::nullopt);
}

TEST_P(LooperTest, GoesOnAfterATaskThatThrows) {
  bool ran = false;
  Post([] { throw std::runtime_error("thrown by a task"); });
  Post([&] { ran = true; });
  EXPECT_EQ(looper_->RunUntilIdle(), 2u);
  EXPECT_TRUE(ran);
}

TEST_P(LooperTest, RunsOnItsThreadWhatManyThreadsPost) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 500;
  std::array<std::vector<int>, kThreads> ran;
  const auto looper = LooperThread::MainLooper();
  int left = kThreads * kTasks;
  std::vector<std::thread> threads;
  for (auto& mine : ran) {
    threads.emplace_back([&] {
      EXPECT_FALSE(looper->IsCurrentThread());
      for (int i = 0; i < kTasks; ++i) {
        Post([&, i] {
          EXPECT_TRUE(looper->IsCurrentThread());
          mine.push_back(i);
          if (--left == 0) looper_->Quit();
        });
      }
    });
  }
  looper_->Run();
  for (auto& thread : threads) thread.join();
  for (const auto& mine : ran) {
    EXPECT_EQ(mine.size(), kTasks);
    EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
  }
}

TEST_P(LooperTest, QuitEndsRunAfterTheTaskThatIsRunning) {
  int ran = 0;
  Post([&] { looper_->Quit(), ++ran; });
  Post([&] { ++ran; });
  looper_->Run();
  EXPECT_EQ(ran, 1);
  looper_->Quit();
  looper_->Run();
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(looper_->RunUntilIdle(), 1u);
}

TEST_P(LooperTest, NeverRunsATaskInsideAnother) {
  Post([&] {
    Post([] {});
    EXPECT_EQ(looper_->RunUntilIdle(), 0u);
    looper_->Run();
  });
  EXPECT_EQ(looper_->RunUntilIdle(), 2u);
}

TEST_P(LooperTest, ReleasesUnrunTasksOnItsThreadAtShutDown) {
  struct Captured {
    base::threading::Looper& looper;
    std::thread::id& released_on;
    ~Captured() {
      looper.PostTask([] { FAIL(); }, 0, {__FILE__, __LINE__});  // dropped, without a deadlock
      released_on = std::this_thread::get_id();
    }
  };
  std::thread::id released_on;
  const auto kept = LooperThread::MainLooper();
  std::thread([&] {
    Post([captured = std::shared_ptr<Captured>(new Captured{*kept, released_on})] { FAIL(); },
         1000);
  }).join();
  looper_.reset();
  EXPECT_EQ(released_on, std::this_thread::get_id());
  EXPECT_EQ(LooperThread::MainLooper(), nullptr);
  kept->PostTask([] { FAIL(); }, 0, {__FILE__, __LINE__});
  looper_.emplace();
  EXPECT_EQ(looper_->RunUntilIdle(), 0u);
}

TEST_P(LooperTest, ThereIsOneMainLooperAtATime) {
  EXPECT_THROW(MainLooperScope(), std::logic_error);
  EXPECT_NE(LooperThread::MainLooper(), nullptr);
}

TEST_P(LooperTest, WakesForWindowMessages) {
  static MainLooperScope* quit_on_message;
  quit_on_message = &*looper_;
  WNDCLASSEXA window_class{};
  window_class.cbSize = sizeof(window_class);
  window_class.lpszClassName = "PlenarBaseLooperTest";
  window_class.lpfnWndProc = [](HWND window, UINT message, WPARAM wparam,
                                LPARAM lparam) -> LRESULT {
    if (message != WM_APP) return DefWindowProcA(window, message, wparam, lparam);
    quit_on_message->Quit();
    return 0;
  };
  ASSERT_NE(RegisterClassExA(&window_class), 0);
  const HWND window = CreateWindowExA(0, window_class.lpszClassName, "", 0, 0, 0, 0, 0,
                                      HWND_MESSAGE, nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  Post([&] { std::thread([&] { PostMessageA(window, WM_APP, 0, 0); }).join(); });
  std::thread second_poster;
  looper_->Run();
  Post([&] { second_poster = std::thread([&] { PostMessageA(window, WM_APP, 0, 0); }); });
  looper_->Run();
  second_poster.join();
  DestroyWindow(window);
  UnregisterClassA(window_class.lpszClassName, nullptr);
}
