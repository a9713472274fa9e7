#include <windows.h>
// Needs what <windows.h> declares.
#include <dbt.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "last_error.h"

namespace windows_calls {
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

bool Matters(UINT message) {
  constexpr UINT kMattering[] = {WM_NCCREATE,     WM_CREATE, WM_DESTROY, WM_NCDESTROY,
                                 WM_DEVICECHANGE, kFirst,    kSecond};
  return std::ranges::find(kMattering, message) != std::end(kMattering);
}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (Matters(message)) script.messages.push_back(message);
  if (message == WM_NCCREATE && script.on_nccreate == FALSE) return FALSE;
  if (message == WM_CREATE) return script.on_create;
  if (message == kFirst || message == kSecond) return 100 + static_cast<LRESULT>(wparam);
  return DefWindowProcA(window, message, wparam, lparam);
}

WNDCLASSEXA Description() {
  WNDCLASSEXA description = {};
  description.cbSize = sizeof(description);
  description.lpfnWndProc = Procedure;
  description.lpszClassName = kClass;
  return description;
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

class Windows : public testing::Test {
 protected:
  void SetUp() override {
    script = Script();
    const WNDCLASSEXA description = Description();
    ASSERT_NE(RegisterClassExA(&description), 0);
  }
  void TearDown() override { UnregisterClassA(kClass, nullptr); }

  /// What the procedure got since the last time.
  static std::vector<UINT> Take() { return std::exchange(script.messages, {}); }
};

TEST_F(Windows, AClassIsRegisteredOnce) {
  const WNDCLASSEXA again = Description();
  EXPECT_EQ(RegisterClassExA(&again), 0);
  EXPECT_EQ(ErrorOf([&] { return RegisterClassExA(&again); }), ERROR_CLASS_ALREADY_EXISTS);
}

TEST_F(Windows, AClassNeedsItsSize) {
  WNDCLASSEXA description = Description();
  description.lpszClassName = "QvsOther";
  description.cbSize = 8;
  EXPECT_EQ(RegisterClassExA(&description), 0);
  EXPECT_EQ(ErrorOf([&] { return RegisterClassExA(&description); }), ERROR_INVALID_PARAMETER);
}

TEST_F(Windows, AClassIsUnregisteredOnceItHasNoWindows) {
  const HWND window = Create();
  EXPECT_EQ(ErrorOf([] { return UnregisterClassA(kClass, nullptr); }), ERROR_CLASS_HAS_WINDOWS);
  DestroyWindow(window);
  EXPECT_TRUE(UnregisterClassA(kClass, nullptr));
  EXPECT_EQ(ErrorOf([] { return UnregisterClassA(kClass, nullptr); }), ERROR_CLASS_DOES_NOT_EXIST);
  EXPECT_EQ(Create(), nullptr);
}

TEST_F(Windows, AClassIsFoundInAnyCase) {
  const HWND window = Create("QVSCALLStest");
  EXPECT_NE(window, nullptr);
  DestroyWindow(window);
}

TEST_F(Windows, CreationAndDestructionAreToldToTheProcedure) {
  const HWND window = Create();
  EXPECT_TRUE(IsWindow(window));
  EXPECT_THAT(Take(), ElementsAre(WM_NCCREATE, WM_CREATE));
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_THAT(Take(), ElementsAre(WM_DESTROY, WM_NCDESTROY));
  EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(DestroyWindow(window));
}

TEST_F(Windows, TheProcedureCanRefuseTheWindow) {
  script.on_nccreate = FALSE;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(Take(), ElementsAre(WM_NCCREATE, WM_NCDESTROY));
  script.on_nccreate = TRUE;
  script.on_create = -1;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(Take().back(), WM_NCDESTROY);
}

TEST_F(Windows, AnotherThreadCannotDestroyIt) {
  const HWND window = Create();
  BOOL destroyed = TRUE;
  DWORD error = ERROR_SUCCESS;
  std::thread([&] { error = ErrorOf([&] { return destroyed = DestroyWindow(window); }); }).join();
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Windows, GoesWithItsThread) {
  HWND window = nullptr;
  std::thread([&] { window = Create(); }).join();
  EXPECT_FALSE(IsWindow(window));
}

TEST_F(Windows, PostedMessagesWaitForTheirTurn) {
  const HWND window = Create();
  Take();
  EXPECT_TRUE(PostMessageA(window, kFirst, 0, 0));
  EXPECT_TRUE(PostMessageA(window, kSecond, 0, 0));
  EXPECT_THAT(Take(), ElementsAre());

  MSG message = {};
  EXPECT_TRUE(PeekMessageA(&message, window, kSecond, kSecond, PM_NOREMOVE));
  EXPECT_EQ(message.message, kSecond);
  while (Dispatch()) {
  }
  EXPECT_THAT(Take(), ElementsAre(kFirst, kSecond));
  DestroyWindow(window);
}

TEST_F(Windows, PostedMessagesGoWithTheWindow) {
  const HWND window = Create();
  PostMessageA(window, kFirst, 0, 0);
  DestroyWindow(window);
  Take();
  while (Dispatch()) {
  }
  EXPECT_THAT(Take(), ElementsAre());
  EXPECT_EQ(ErrorOf([&] { return PostMessageA(window, kFirst, 0, 0); }),
            ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(Windows, SentMessagesAreAnsweredAtOnceOnTheirThread) {
  const HWND window = Create();
  EXPECT_EQ(SendMessageA(window, kFirst, 7, 0), 107);
  DestroyWindow(window);
}

TEST_F(Windows, SentMessagesOfAnotherThreadAreHandledWhileMessagesAreFetched) {
  const HWND window = Create();
  Take();
  std::atomic<LRESULT> answer = 0;
  std::thread sender([&] { answer = SendMessageA(window, kSecond, 5, 0); });
  while (answer == 0) {
    EXPECT_FALSE(Dispatch());  // it is no message of the queue
  }
  sender.join();
  EXPECT_EQ(answer, 105);
  EXPECT_THAT(Take(), ElementsAre(kSecond));
  DestroyWindow(window);
}

class Notifications : public Windows {
 protected:
  void SetUp() override {
    Windows::SetUp();
    window_ = Create();
    filter_.dbcc_size = sizeof(filter_);
    filter_.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  }
  void TearDown() override {
    DestroyWindow(window_);
    Windows::TearDown();
  }

  HWND window_ = nullptr;
  DEV_BROADCAST_DEVICEINTERFACE_A filter_ = {};
};

TEST_F(Notifications, AreRegisteredAndUnregisteredOnce) {
  const HDEVNOTIFY notification =
      RegisterDeviceNotificationA(window_, &filter_, DEVICE_NOTIFY_WINDOW_HANDLE);
  ASSERT_NE(notification, nullptr);
  EXPECT_TRUE(UnregisterDeviceNotification(notification));
}

TEST_F(Notifications, AreForAWindow) {
  EXPECT_EQ(RegisterDeviceNotificationA(nullptr, &filter_, DEVICE_NOTIFY_WINDOW_HANDLE), nullptr);
  EXPECT_FALSE(UnregisterDeviceNotification(nullptr));
}

TEST_F(Notifications, OutliveTheirWindow) {
  const HDEVNOTIFY notification =
      RegisterDeviceNotificationA(window_, &filter_, DEVICE_NOTIFY_WINDOW_HANDLE);
  DestroyWindow(window_);
  EXPECT_TRUE(UnregisterDeviceNotification(notification));
}

}  // namespace
}  // namespace windows_calls
