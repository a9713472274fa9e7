#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <simulated_pc/message_waker.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace {

using simulated_pc::SimulatedPc;
using testing::ElementsAre;

std::vector<UINT> handled;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message < WM_USER) return DefWindowProcA(window, message, wparam, lparam);
  handled.push_back(message);
  // A window of another thread is asked back by a sent message.
  if (lparam != 0) return SendMessageA(reinterpret_cast<HWND>(lparam), message, wparam, 0) + 1;
  return static_cast<LRESULT>(wparam) + 1;
}

HWND Create() {
  return CreateWindowExA(0, "Sample", "", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
}

std::vector<UINT> Fetch(HWND window = nullptr, UINT first = 0, UINT last = 0,
                        UINT remove = PM_REMOVE) {
  std::vector<UINT> fetched;
  MSG message;
  while (PeekMessageA(&message, window, first, last, remove)) {
    fetched.push_back(message.message);
    if (remove == PM_NOREMOVE) break;
  }
  return fetched;
}

class MessagesTest : public testing::Test {
 protected:
  void SetUp() override {
    SimulatedPc::Get().Reset();
    handled.clear();
    WNDCLASSEXA description{};
    description.cbSize = sizeof description;
    description.lpfnWndProc = Procedure;
    description.lpszClassName = "Sample";
    RegisterClassExA(&description);
    window_ = Create();
    ASSERT_NE(window_, nullptr);
    SetLastError(0);
  }

  HWND window_ = nullptr;
};

TEST_F(MessagesTest, ArriveInOrderAndAreDispatchedToTheProcedure) {
  EXPECT_TRUE(PostMessageA(window_, WM_USER, 5, 0));
  EXPECT_TRUE(PostMessageA(window_, WM_USER + 1, 6, 0));
  EXPECT_THAT(Fetch(window_, 0, 0, PM_NOREMOVE), ElementsAre(WM_USER)) << "it stays queued";
  MSG message;
  ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_TRUE(handled.empty());
  EXPECT_EQ(DispatchMessageA(&message), 6);
  EXPECT_THAT(handled, ElementsAre(WM_USER));
  EXPECT_THAT(Fetch(), ElementsAre(WM_USER + 1));
}

TEST_F(MessagesTest, AreSelectedByWindowAndRange) {
  const HWND other = Create();
  const auto no_window = reinterpret_cast<HWND>(LONG_PTR{-1});
  PostMessageA(nullptr, WM_USER, 0, 0);
  PostMessageA(window_, WM_USER + 1, 0, 0);
  PostMessageA(window_, WM_USER + 2, 0, 0);
  PostMessageA(other, WM_USER + 3, 0, 0);
  EXPECT_THAT(Fetch(nullptr, WM_USER + 2, WM_USER + 2), ElementsAre(WM_USER + 2));
  EXPECT_THAT(Fetch(window_), ElementsAre(WM_USER + 1));
  EXPECT_THAT(Fetch(no_window), ElementsAre(WM_USER));
  EXPECT_TRUE(DestroyWindow(other));
  EXPECT_TRUE(Fetch().empty()) << "a window's messages go with it";
}

TEST_F(MessagesTest, StayOnTheWindowsThread) {
  PostMessageA(window_, WM_USER, 0, 0);
  std::thread([&] {
    EXPECT_TRUE(Fetch().empty());
    EXPECT_TRUE(Fetch(window_).empty());
    const MSG message = {
        .hwnd = window_, .message = WM_USER, .wParam = 0, .lParam = 0, .time = 0, .pt = {}};
    EXPECT_EQ(DispatchMessageA(&message), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MESSAGE_SYNC_ONLY});
  }).join();
  EXPECT_TRUE(handled.empty());
  EXPECT_THAT(Fetch(), ElementsAre(WM_USER));
}

TEST_F(MessagesTest, FailForWhatIsNoWindow) {
  const auto dead = reinterpret_cast<HWND>(0x4);
  const MSG to_dead = {
      .hwnd = dead, .message = WM_USER, .wParam = 0, .lParam = 0, .time = 0, .pt = {}};
  MSG message;
  const auto expect_failure = [](LRESULT result) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    SetLastError(0);
  };
  expect_failure(PostMessageA(dead, WM_USER, 0, 0));
  expect_failure(SendMessageA(dead, WM_USER, 0, 0));
  expect_failure(PeekMessageA(&message, dead, 0, 0, PM_REMOVE));
  expect_failure(DispatchMessageA(&to_dead));
  expect_failure(DefWindowProcA(dead, WM_USER, 0, 0));
}

TEST_F(MessagesTest, ASentOneIsHandledByTheWindowsThread) {
  EXPECT_EQ(SendMessageA(window_, WM_USER, 1, 0), 2);
  handled.clear();

  // While its window's own message is out, the sender handles what comes back.
  static std::promise<void> sent;
  simulated_pc::SetMessageWaker([] { sent.set_value(); });
  std::thread sender([&] {
    const HWND theirs = Create();
    EXPECT_EQ(SendMessageA(window_, WM_USER, 1, reinterpret_cast<LPARAM>(theirs)), 3);
  });
  sent.get_future().wait();
  simulated_pc::SetMessageWaker(nullptr);
  EXPECT_TRUE(Fetch().empty()) << "fetching handles sent messages but does not return them";
  sender.join();
  EXPECT_THAT(handled, ElementsAre(WM_USER, WM_USER));
}

TEST_F(MessagesTest, ASenderGoesOnWhenTheWindowIsGone) {
  static std::promise<void> sent;
  simulated_pc::SetMessageWaker([] { sent.set_value(); });
  std::thread sender([&] { EXPECT_EQ(SendMessageA(window_, WM_USER, 1, 0), 0); });
  sent.get_future().wait();
  simulated_pc::SetMessageWaker(nullptr);
  EXPECT_TRUE(DestroyWindow(window_));
  sender.join();
  EXPECT_TRUE(handled.empty());
}

TEST_F(MessagesTest, WakeTheMessageLoop) {
  static std::atomic<int> wakes;
  wakes = 0;
  simulated_pc::SetMessageWaker([] { ++wakes; });
  std::thread([&] { PostMessageA(window_, WM_USER, 0, 0); }).join();
  EXPECT_EQ(wakes, 1);
  SimulatedPc::Get().NotifyDeviceChange(7);
  EXPECT_EQ(wakes, 2);
  simulated_pc::SetMessageWaker(nullptr);
  PostMessageA(window_, WM_USER, 0, 0);
  EXPECT_EQ(wakes, 2);
}

}  // namespace
