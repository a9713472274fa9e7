#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <plenar_base/looper.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/time_source.h>
#include <plenar_base/timer.h>

using namespace base::threading;

constexpr base::Location kHere{__FILE__, __LINE__};

/// Waits as a program with a `poll` loop of its own does: until it is woken or something is due.
static void WaitFor(int wake_up, const MainLooperScope& looper) {
  int timeout_ms = -1;
  if (const auto deadline = looper.NextDeadline()) {
    const auto now = base::time::GetTimeSource()->SteadyMilliseconds();
    timeout_ms = *deadline > now ? static_cast<int>(*deadline - now) : 0;
  }
  pollfd polled{wake_up, POLLIN, 0};
  poll(&polled, 1, timeout_ms);
  eventfd_t count = 0;
  eventfd_read(wake_up, &count);
}

TEST(HostLoopTest, APollLoopRunsTasksAndTicksAndIsWokenOnceForAllThatCameMeanwhile) {
  base::time::SetTimeSource(nullptr);
  const int wake_up = eventfd(0, EFD_NONBLOCK);
  int woken = 0;
  MainLooperScope looper([&] { ++woken, eventfd_write(wake_up, 1); });
  std::string ran;
  const auto post = [&ran](char id) {
    LooperThread::MainLooper()->PostTask([&ran, id] { ran += id; }, 0, kHere);
  };
  const auto timer = CreateTimer([&] { ran += 't'; }, kHere);
  timer->Start(1, false);
  std::jthread([&] { post('a'), post('b'); }).join();
  EXPECT_EQ(woken, 1);
  while (ran.size() < 3) {
    WaitFor(wake_up, looper);
    looper.RunUntilIdle();
  }
  EXPECT_EQ(std::count(ran.begin(), ran.end(), 't'), 1);

  std::jthread poster(post, 'c');
  while (ran.size() < 4) {
    WaitFor(wake_up, looper);
    looper.RunUntilIdle();
  }
  EXPECT_EQ(woken, 2);
  close(wake_up);
}
