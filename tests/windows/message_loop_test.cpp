#include <windows.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <plenar_base/looper.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/timer.h>

namespace {

using namespace base::threading;

constexpr base::Location kHere{__FILE__, __LINE__};
constexpr UINT_PTR kCloseTimer = 1;

INT_PTR CALLBACK DialogProcedure(HWND dialog, UINT message, WPARAM, LPARAM close_after_ms) {
  if (message == WM_INITDIALOG && close_after_ms > 0) {
    SetTimer(dialog, kCloseTimer, static_cast<UINT>(close_after_ms), nullptr);
  }
  if (message == WM_TIMER || message == WM_CLOSE) EndDialog(dialog, 1);
  return message == WM_INITDIALOG;
}

HWND OpenDialog() {
  return FindWindowExW(nullptr, nullptr, reinterpret_cast<LPCWSTR>(WC_DIALOG), nullptr);
}

/// Returns when the dialog is closed: by somebody, or after a time.
void ShowDialog(int close_after_ms = 0) {
  struct {
    DLGTEMPLATE dialog = {
        .style = WS_POPUP, .dwExtendedStyle = 0, .cdit = 0, .x = 0, .y = 0, .cx = 10, .cy = 10};
    WORD menu_class_title[3] = {};
  } shown;
  EXPECT_EQ(
      DialogBoxIndirectParamW(nullptr, &shown.dialog, nullptr, &DialogProcedure, close_after_ms),
      1);
}

/// A program's own loop, until `WM_QUIT`; its exit code.
int RunHostLoop() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

class MessageLoop : public testing::Test {
 protected:
  /// Three tasks of another thread and three ticks, then `end` on the looper's thread.
  void ExpectWorkIn(const std::function<void()>& loop, const std::function<void()>& end) {
    int tasks = 0;
    int ticks = 0;
    const auto timer = CreateTimer(
        [&] {
          if (++ticks >= 3 && tasks == 3) end();
        },
        kHere);
    timer->Start(1, true);
    std::jthread poster([&] {
      for (int i = 0; i < 3; ++i, Sleep(1)) Looper()->PostTask([&] { ++tasks; }, 0, kHere);
    });
    loop();
    EXPECT_EQ(tasks, 3);
    EXPECT_GE(ticks, 3);
  }
  static std::shared_ptr<base::threading::Looper> Looper() { return LooperThread::MainLooper(); }

  std::optional<MainLooperScope> looper_{std::in_place};
};

TEST_F(MessageLoop, AnyLoopOfTheThreadBringsTasksAndTicks) {
  ExpectWorkIn([] { EXPECT_EQ(RunHostLoop(), 5); }, [] { PostQuitMessage(5); });
  ExpectWorkIn([] { ShowDialog(); }, [] { PostMessageW(OpenDialog(), WM_CLOSE, 0, 0); });
  ExpectWorkIn([this] { looper_->Run(); }, [this] { looper_->Quit(); });
  ExpectWorkIn(
      [this] {  // a dialog that a message opens while `Run` runs
        SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR id, DWORD) {
          KillTimer(nullptr, id);
          ShowDialog();
          PostQuitMessage(0);
        });
        looper_->Run();
        RunHostLoop();
      },
      [] { PostMessageW(OpenDialog(), WM_CLOSE, 0, 0); });
}

TEST_F(MessageLoop, RunBringsCharactersOfAnyScriptAndOfKeys) {
  static std::wstring typed;
  const HWND window =
      CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  const WNDPROC procedure = [](HWND, UINT message, WPARAM wparam, LPARAM) -> LRESULT {
    if (message == WM_CHAR) typed += static_cast<wchar_t>(wparam);
    return 0;
  };
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
  PostMessageW(window, WM_CHAR, L'\x4E2D', 0);
  PostMessageW(window, WM_KEYDOWN, VK_RETURN, 1);
  PostQuitMessage(0);
  looper_->Run();
  EXPECT_EQ(typed, L"\x4E2D\r");
}

TEST_F(MessageLoop, WorkThatWasLeftWhenRunEndedReachesTheNextLoop) {
  Looper()->PostTask([this] { looper_->Quit(); }, 0, kHere);
  Looper()->PostTask([] { PostQuitMessage(6); }, 0, kHere);
  looper_->Run();
  EXPECT_EQ(RunHostLoop(), 6);
}

TEST_F(MessageLoop, WorkThatNeverEndsDoesNotFillTheThreadsQueue) {
  int left = 200;
  const std::function<void()> again = [&] {
    if (--left == 0) return looper_->Quit();
    Looper()->PostTask(again, 0, kHere);
  };
  again();
  looper_->Run();
  int waiting = 0;
  for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) ++waiting;
  EXPECT_LT(waiting, 5);
}

TEST_F(MessageLoop, ADialogInsideATaskHoldsUpTheOthersUntilItIsClosed) {
  bool open = false;
  Looper()->PostTask(
      [&] {
        Looper()->PostTask(
            [&] {
              EXPECT_FALSE(open);
              PostQuitMessage(0);
            },
            0, kHere);
        open = true;
        ShowDialog(30);
        open = false;
      },
      0, kHere);
  RunHostLoop();
}

TEST_F(MessageLoop, RunEndsWithTheProgramAndLeavesTheExitCodeToTheLoopAroundIt) {
  PostQuitMessage(7);
  looper_->RunUntilIdle();
  looper_->Run();
  EXPECT_EQ(RunHostLoop(), 7);
}

TEST_F(MessageLoop, NothingIsLeftBehind) {
  const auto window = [] {
    return FindWindowExW(HWND_MESSAGE, nullptr, nullptr, L"PlenarBaseMainLooper");
  };
  EXPECT_NE(window(), nullptr);
  looper_.reset();
  EXPECT_EQ(window(), nullptr);
}

}  // namespace
