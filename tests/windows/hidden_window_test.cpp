#include <windows.h>
// Needs what <windows.h> declares.
#include <dbt.h>

#include <gmock/gmock.h>

#include "tests/windows/windows_host_test.h"

namespace qvs_test {
namespace {

using testing::ElementsAre;

namespace method = quorvel_service::windows_ble::method;
namespace event = quorvel_service::windows_ble::event;

class HiddenWindow : public WindowsHostTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(LoadModule());
    ASSERT_NO_FATAL_FAILURE(CreateService());
    window_ = WindowsHostTest::HiddenWindow();
    ASSERT_NE(window_, nullptr);
    Take();
  }

  HWND window_ = nullptr;
};

TEST_F(HiddenWindow, IsAnEmptyTopLevelWindowThatIsNotShown) {
  EXPECT_FALSE(IsWindowVisible(window_));
  EXPECT_EQ(GetParent(window_), nullptr);
  EXPECT_EQ(GetMenu(window_), nullptr);
  EXPECT_EQ(GetWindowTextLengthA(window_), 0);
  const auto style = static_cast<DWORD>(GetWindowLongPtrA(window_, GWL_STYLE));
  EXPECT_EQ(style & WS_OVERLAPPEDWINDOW, WS_OVERLAPPEDWINDOW);
  EXPECT_EQ(reinterpret_cast<HINSTANCE>(GetWindowLongPtrA(window_, GWLP_HINSTANCE)),
            GetModuleHandleA(nullptr));
}

TEST_F(HiddenWindow, ChecksTheStateOnTheLooperThreadWhenAnotherThreadTellsOfAChange) {
  const DWORD looper_thread = GetCurrentThreadId();
  DWORD event_thread = 0;
  listener_.on_event = [&](std::uint64_t) { event_thread = GetCurrentThreadId(); };

  EXPECT_EQ(SendDeviceChange(window_, DBT_DEVNODES_CHANGED), 0);

  EXPECT_THAT(Take(kEvent | kLog), ElementsAre("6 MessageWndProc: system ble setting changed",
                                               "6 CheckBleState: ble state change from: 1, to: 0",
                                               "state 0", "6 ReportRetryInfo: report success",
                                               R"(retry_info {"is_success":true,"retry_time":0})"));
  EXPECT_EQ(event_thread, looper_thread);
}

TEST_F(HiddenWindow, TellsEachStateOnce) {
  SendDeviceChange(window_, DBT_DEVNODES_CHANGED);
  SetRadioOn(false);
  SendDeviceChange(window_, DBT_DEVNODES_CHANGED);
  SendDeviceChange(window_, DBT_DEVNODES_CHANGED);
  SetRadioOn(true);
  SendDeviceChange(window_, DBT_DEVNODES_CHANGED);

  EXPECT_THAT(Take(kEvent),
              ElementsAre("state 0", testing::StartsWith("retry_info "), "state 5", "state 0"));
}

TEST_F(HiddenWindow, GetsChangesThatArePosted) {
  ASSERT_TRUE(PostMessageA(window_, WM_DEVICECHANGE, DBT_DEVNODES_CHANGED, 0));
  RunUntilEvent(event::kState);
  EXPECT_THAT(Take(kEvent), testing::Contains("state 0"));
}

TEST_F(HiddenWindow, DoesNothingForArrivalAndRemoval) {
  SetRadioOn(false);
  for (const int what : {DBT_DEVICEARRIVAL, DBT_DEVICEREMOVECOMPLETE, DBT_CONFIGCHANGED}) {
    EXPECT_EQ(SendDeviceChange(window_, static_cast<WPARAM>(what)), 0);
  }
  EXPECT_THAT(Take(), testing::IsEmpty());
}

TEST_F(HiddenWindow, LeavesOtherMessagesToTheSystem) {
  char text[8] = {};
  SetWindowTextA(window_, "title");
  EXPECT_EQ(GetWindowTextA(window_, text, sizeof(text)), 5);
  EXPECT_STREQ(text, "title");
}

TEST_F(HiddenWindow, IsGoneAfterUnInitAndBackAfterInit) {
  EXPECT_EQ(Call(method::kUnInit), 0);
  EXPECT_FALSE(IsWindow(window_));
  EXPECT_EQ(WindowsHostTest::HiddenWindow(), nullptr);
  EXPECT_TRUE(IsClassRegistered());

  EXPECT_EQ(Call(method::kInit), 0);
  const HWND again = WindowsHostTest::HiddenWindow();
  ASSERT_NE(again, nullptr);
  Take();
  SendDeviceChange(again, DBT_DEVNODES_CHANGED);
  EXPECT_THAT(Take(kEvent), testing::Contains("state 0"));
}

TEST_F(HiddenWindow, TakesItsClassAlongWhenTheModuleIsUnloaded) {
  UnloadModule();
  EXPECT_FALSE(IsWindow(window_));
  EXPECT_FALSE(IsClassRegistered());
}

}  // namespace
}  // namespace qvs_test
