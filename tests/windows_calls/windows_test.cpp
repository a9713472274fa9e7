#include <windows.h>
// Needs what <windows.h> declares.
#include <dbt.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tests/windows_calls/last_error.h"

namespace {

using testing::ElementsAre;

constexpr char kClass[] = "QvsCallsTest";
constexpr UINT kFirst = WM_USER + 1;
constexpr UINT kSecond = WM_USER + 2;

/// What the window procedure got of the messages that matter here, and how it answers.
struct Script {
  std::vector<UINT> messages;
  LRESULT on_nccreate = TRUE;
  LRESULT on_create = 0;
} script;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  constexpr UINT kMattering[] = {WM_NCCREATE, WM_CREATE, WM_DESTROY, WM_NCDESTROY, kFirst, kSecond};
  if (std::ranges::count(kMattering, message) != 0) script.messages.push_back(message);
  if (message == WM_NCCREATE && script.on_nccreate == FALSE) return FALSE;
  if (message == WM_CREATE) return script.on_create;
  if (message == kFirst || message == kSecond) return 100 + static_cast<LRESULT>(wparam);
  return DefWindowProcA(window, message, wparam, lparam);
}

LSTATUS Register(UINT size = sizeof(WNDCLASSEXA)) {
  WNDCLASSEXA description = {};
  description.cbSize = size;
  description.lpfnWndProc = Procedure;
  description.lpszClassName = kClass;
  return ErrorOf(RegisterClassExA(&description));
}

HWND Create(const char* name = kClass) {
  return CreateWindowExA(0, name, nullptr, WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                         GetModuleHandleA(nullptr), nullptr);
}

bool Dispatch() {
  MSG message;
  if (!PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return false;
  DispatchMessageA(&message);
  return true;
}

/// What the procedure got since the last time.
std::vector<UINT> Take() {
  return std::exchange(script.messages, {});
}

TEST(Classes, AreThereOnceAndStayWhileTheyHaveWindows) {
  EXPECT_EQ(Register(8), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Register(), ERROR_SUCCESS);
  EXPECT_EQ(Register(), ERROR_CLASS_ALREADY_EXISTS);
  const HWND window = Create("QVSCALLStest");
  ASSERT_NE(window, nullptr) << "in any case";
  EXPECT_EQ(ErrorOf(UnregisterClassA(kClass, nullptr)), ERROR_CLASS_HAS_WINDOWS);
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_TRUE(UnregisterClassA(kClass, nullptr));
  EXPECT_EQ(ErrorOf(UnregisterClassA(kClass, nullptr)), ERROR_CLASS_DOES_NOT_EXIST);
  EXPECT_EQ(Create(), nullptr);
}

class Windows : public testing::Test {
 protected:
  Windows() {
    script = Script();
    EXPECT_EQ(Register(), ERROR_SUCCESS);
    window_ = Create();
    EXPECT_THAT(Take(), ElementsAre(WM_NCCREATE, WM_CREATE));
  }
  ~Windows() override {
    DestroyWindow(window_);
    EXPECT_TRUE(UnregisterClassA(kClass, nullptr));
  }

  HWND window_ = nullptr;
};

TEST_F(Windows, AreDestroyedOnceAndNotByAnotherThread) {
  EXPECT_TRUE(IsWindow(window_));
  std::thread([this] { EXPECT_EQ(ErrorOf(DestroyWindow(window_)), ERROR_ACCESS_DENIED); }).join();
  EXPECT_TRUE(DestroyWindow(window_));
  EXPECT_THAT(Take(), ElementsAre(WM_DESTROY, WM_NCDESTROY));
  EXPECT_FALSE(IsWindow(window_));
  EXPECT_FALSE(DestroyWindow(window_));
}

TEST_F(Windows, GoWithTheirThread) {
  HWND window = nullptr;
  std::thread([&] { window = Create(); }).join();
  EXPECT_NE(window, nullptr);
  EXPECT_FALSE(IsWindow(window));
}

TEST_F(Windows, CanBeRefusedByTheProcedure) {
  script.on_nccreate = FALSE;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(Take(), ElementsAre(WM_NCCREATE, WM_NCDESTROY));
  script.on_nccreate = TRUE;
  script.on_create = -1;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(Take().back(), WM_NCDESTROY);
}

TEST_F(Windows, PostedMessagesWaitForTheirTurnAndGoWithTheWindow) {
  for (const UINT message : {kFirst, kSecond}) EXPECT_TRUE(PostMessageA(window_, message, 0, 0));
  EXPECT_THAT(Take(), ElementsAre());
  MSG message = {};
  EXPECT_TRUE(PeekMessageA(&message, window_, kSecond, kSecond, PM_NOREMOVE));
  EXPECT_EQ(message.message, kSecond);
  while (Dispatch()) {
  }
  EXPECT_THAT(Take(), ElementsAre(kFirst, kSecond));

  PostMessageA(window_, kFirst, 0, 0);
  DestroyWindow(window_);
  while (Dispatch()) {
  }
  EXPECT_THAT(Take(), ElementsAre(WM_DESTROY, WM_NCDESTROY));
  EXPECT_EQ(ErrorOf(PostMessageA(window_, kFirst, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(Windows, SentMessagesAreHandledAtOnceOrWhileMessagesAreFetched) {
  EXPECT_EQ(SendMessageA(window_, kFirst, 7, 0), 107);
  std::atomic<LRESULT> answer = 0;
  std::thread sender([&] { answer = SendMessageA(window_, kSecond, 5, 0); });
  while (answer == 0) {
    EXPECT_FALSE(Dispatch()) << "it is no message of the queue";
  }
  sender.join();
  EXPECT_EQ(answer, 105);
  EXPECT_THAT(Take(), ElementsAre(kFirst, kSecond));
}

TEST_F(Windows, NotificationsAreForAWindowAndOutliveIt) {
  DEV_BROADCAST_DEVICEINTERFACE_A filter = {};
  filter.dbcc_size = sizeof(filter);
  filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  const auto add = [&filter](HWND window) {
    return RegisterDeviceNotificationA(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
  };
  EXPECT_EQ(add(nullptr), nullptr);
  EXPECT_FALSE(UnregisterDeviceNotification(nullptr));
  EXPECT_TRUE(UnregisterDeviceNotification(add(window_)));
  const HDEVNOTIFY notification = add(window_);
  DestroyWindow(window_);
  EXPECT_TRUE(UnregisterDeviceNotification(notification));
}

}  // namespace
