#include "threading/loop_waiter.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <system_error>
#include <type_traits>

#include "threading/looper_core.h"

namespace base::threading {
namespace {

constexpr UINT kWorkMessage = WM_APP;
constexpr UINT_PTR kTimer = 1;
constexpr DWORD kHighResolution = 2;  // CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, not in every SDK

template <auto Release>
struct Releaser {
  template <class Handle>
  void operator()(Handle handle) const {
    Release(handle);
  }
};

/// One that is exact, where the system has such: since Windows 10, version 1803.
HANDLE MakeWaitableTimer() {
  for (const DWORD flags : {kHighResolution, DWORD{0}}) {
    const HANDLE timer = CreateWaitableTimerExW(nullptr, nullptr, flags, TIMER_ALL_ACCESS);
    if (timer != nullptr) return timer;
  }
  return nullptr;
}

template <class Result>
Result Checked(Result result) {
  if (result) return result;
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "main looper");
}

/// Work and deadlines come as messages to a message-only window, so any message loop of the thread
/// brings them. A window of the system's own class will do: nothing is to be registered.
class WindowWaiter final : public LoopWaiter {
 public:
  explicit WindowWaiter(LooperCore& looper) : looper_(looper) {
    SetWindowLongPtrW(window_.get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_.get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure));
  }

  bool Wake() noexcept override { return PostMessageW(window_.get(), kWorkMessage, 0, 0) != FALSE; }

  void Wait(std::uint64_t milliseconds) override {
    constexpr LONGLONG kPerMillisecond = -10'000;  // negative: from now, in units of 100 ns
    LARGE_INTEGER due;
    due.QuadPart = static_cast<LONGLONG>(std::min(milliseconds, kLongestWait)) * kPerMillisecond;
    SetWaitableTimer(timer_.get(), &due, 0, nullptr, nullptr, FALSE);
    HANDLE timer = timer_.get();
    // Messages that are in the queue already, but have been seen by a peek, count as well.
    MsgWaitForMultipleObjectsEx(1, &timer, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  }

  Message DispatchOne() override {
    MSG message;
    if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return Message::kNone;
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return Message::kQuit;
    }
    HandOver();  // the window procedure may open a dialog
    TranslateMessage(&message);
    DispatchMessageW(&message);
    return Message::kDispatched;
  }

  void HandOver() override {
    const std::optional<std::uint64_t> deadline = looper_.NextDeadline();
    const std::uint64_t now = looper_.Now();
    if (deadline && *deadline <= now) {
      if (!has_posted_) has_posted_ = Wake();
    } else if (deadline != armed_) {
      armed_ = deadline;
      if (!deadline) {
        KillTimer(window_.get(), kTimer);
        return;
      }
      const auto delay = static_cast<UINT>(std::min(*deadline - now, kLongestWait));
      SetTimer(window_.get(), kTimer, delay, nullptr);
    }
  }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != kWorkMessage && message != WM_TIMER) {
      return DefWindowProcW(window, message, wparam, lparam);
    }
    auto* const self = reinterpret_cast<WindowWaiter*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_TIMER) {  // it may come a little early: it is set anew for what is left
      KillTimer(window, kTimer);
      self->armed_.reset();
    } else {
      self->has_posted_ = false;
    }
    self->looper_.RunFromMessage();
    return 0;
  }

  LooperCore& looper_;
  std::optional<std::uint64_t> armed_;  ///< For when the window's timer is set.
  bool has_posted_ = false;  ///< A work message of `HandOver` is on its way: one is enough.
  const std::unique_ptr<std::remove_pointer_t<HWND>, Releaser<&DestroyWindow>> window_{
      Checked(CreateWindowExW(0, L"STATIC", L"PlenarBaseMainLooper", 0, 0, 0, 0, 0, HWND_MESSAGE,
                              nullptr, nullptr, nullptr))};
  /// Exact where the window's timer is not; for `Wait`.
  const std::unique_ptr<void, Releaser<&CloseHandle>> timer_{Checked(MakeWaitableTimer())};
};

}  // namespace

std::unique_ptr<LoopWaiter> MakeLoopWaiter(LooperCore& looper) {
  return std::make_unique<WindowWaiter>(looper);
}

}  // namespace base::threading
