#include <dbt.h>

#include <thread>

#include "tests/simulated_pc/pc_test.h"

namespace {

/// Answers a message with its wParam.
LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) return DefWindowProcA(window, message, wparam, lparam);
  return static_cast<LRESULT>(wparam);
}

HWND Create(HWND parent = nullptr) {
  return CreateWindowExA(0, "SAMPLE", "", 0, 0, 0, 0, 0, parent, nullptr, nullptr, nullptr);
}

/// Dispatches the messages that wait for this thread, and returns the answers.
std::vector<LRESULT> Dispatch() {
  std::vector<LRESULT> answers;
  for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
    answers.push_back(DispatchMessageA(&message));
  }
  return answers;
}

struct WindowsTest : PcTest {
  WindowsTest() {
    WNDCLASSEXA description{};
    description.cbSize = sizeof description;
    description.lpfnWndProc = Procedure;
    description.lpszClassName = "Sample";
    EXPECT_TRUE(RegisterClassExA(&description));
  }
};

TEST_F(WindowsTest, AWindowItsMessagesAndTheLastErrorBelongToTheirThread) {
  const HWND window = Create();
  SetLastError(77);
  std::thread([window] {
    Create();  // It goes with its thread.
    for (const WPARAM wparam : {1u, 2u}) PostMessageA(window, WM_USER, wparam, 0);
    EXPECT_THAT(Dispatch(), testing::IsEmpty());
    SetLastError(78);
  }).join();
  EXPECT_EQ(GetLastError(), 77u);
  EXPECT_EQ(Pc().WindowCount(), 1u);
  EXPECT_THAT(Dispatch(), testing::ElementsAre(1, 2));
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_EQ(ErrorOf(DestroyWindow(window)), ERROR_INVALID_WINDOW_HANDLE);
  EXPECT_TRUE(UnregisterClassA("Sample", GetModuleHandleA(nullptr)));
  EXPECT_FALSE(Pc().HasWindowClass("Sample"));
}

TEST_F(WindowsTest, DeviceChangesArePostedToTheWindowsThatTheyAreFor) {
  const HWND window = Create();
  const HWND message_only = Create(HWND_MESSAGE);
  const auto changes_for = [](WPARAM wparam) {
    Pc().NotifyDeviceChange(wparam);
    return Dispatch();
  };
  EXPECT_THAT(changes_for(DBT_DEVNODES_CHANGED), testing::ElementsAre(7))
      << "top-level windows only";
  EXPECT_THAT(changes_for(DBT_DEVICEARRIVAL), testing::IsEmpty()) << "nobody has asked for it";

  DEV_BROADCAST_DEVICEINTERFACE_A filter{};
  filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  EXPECT_EQ(ErrorOf(RegisterDeviceNotificationA(window, &filter, 0)), ERROR_INVALID_DATA);
  filter.dbcc_size = sizeof filter;
  EXPECT_TRUE(RegisterDeviceNotificationA(window, &filter, 0)) << "for no radios";
  filter.dbcc_classguid = kRadioClass;
  const HDEVNOTIFY radios = RegisterDeviceNotificationA(message_only, &filter, 0);
  EXPECT_THAT(changes_for(DBT_DEVICEARRIVAL), testing::ElementsAre(0x8000));
  EXPECT_TRUE(DestroyWindow(message_only));
  EXPECT_THAT(changes_for(DBT_DEVICEARRIVAL), testing::IsEmpty());
  EXPECT_EQ(Pc().DeviceNotificationCount(), 2u);
  EXPECT_TRUE(UnregisterDeviceNotification(radios));
  EXPECT_EQ(ErrorOf(UnregisterDeviceNotification(radios)), ERROR_INVALID_HANDLE);
}

}  // namespace
