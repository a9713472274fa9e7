// What a host of the module sees of it in a real Windows.

#include <windows.h>
// Need what <windows.h> declares.
#include <dbt.h>
#include <setupapi.h>

#include <memory>
#include <utility>

#include <gmock/gmock.h>

#include "tests/windows/windows_host_test.h"

namespace qvs_test {
namespace {

namespace method = quorvel_service::windows_ble::method;
namespace event = quorvel_service::windows_ble::event;
using base::variant::Variant;
using testing::Contains;
using testing::ElementsAre;

using ModuleOnWindows = WindowsHostTest;

TEST_F(ModuleOnWindows, TellsOfAChangeOnTheLooperThreadHoweverItsMessageComes) {
  ASSERT_NO_FATAL_FAILURE(LoadModule());
  Take(kEvent);
  const DWORD looper_thread = GetCurrentThreadId();
  listener_.on_event = [&](std::uint64_t) { EXPECT_EQ(GetCurrentThreadId(), looper_thread); };
  SendDeviceChange(HiddenWindow());
  EXPECT_THAT(Take(kEvent | kLog), ElementsAre("6 MessageWndProc: system ble setting changed",
                                               "6 CheckBleState: ble state change from: 1, to: 0",
                                               "state 0", "6 ReportRetryInfo: report success",
                                               R"(retry_info {"is_success":true,"retry_time":0})"));
  SetRadioOn(false);
  ASSERT_TRUE(PostMessageA(HiddenWindow(), WM_DEVICECHANGE, DBT_DEVNODES_CHANGED, 0));
  RunUntilEvent(event::kState);
  EXPECT_THAT(Take(kEvent), ElementsAre("state 5"));
}

/// A radio as its driver leaves it in the registry, removed at the end. No other device of the
/// machine is touched.
class RegisteredRadio {
 public:
  RegisteredRadio() {
    device_.cbSize = sizeof(device_);
    constexpr char kId[] = "ROOT\\QVS_TEST_RADIO\\0001";
    // One that a run left behind when it was killed is taken over.
    const bool made =
        SetupDiCreateDeviceInfoA(set_, kId, &kSetUpClass, nullptr, nullptr, 0, &device_) ||
        SetupDiOpenDeviceInfoA(set_, kId, nullptr, 0, &device_);
    EXPECT_TRUE(made && SetupDiRegisterDeviceInfo(set_, &device_, 0, nullptr, nullptr, nullptr));
    EXPECT_TRUE(
        SetupDiCreateDeviceInterfaceA(set_, &device_, &kRadioInterface, nullptr, 0, nullptr));
    key_ =
        SetupDiCreateDevRegKeyA(set_, &device_, DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr);
    EXPECT_NE(key_, INVALID_HANDLE_VALUE);
  }
  ~RegisteredRadio() {
    RegCloseKey(key_);
    EXPECT_TRUE(SetupDiRemoveDevice(set_, &device_));
    SetupDiDestroyDeviceInfoList(set_);
  }
  RegisteredRadio(const RegisteredRadio&) = delete;
  RegisteredRadio& operator=(const RegisteredRadio&) = delete;

  void SetWriteScanEnable(DWORD value) {
    EXPECT_EQ(RegSetValueExA(key_, "Write Scan Enable", 0, REG_DWORD,
                             reinterpret_cast<const BYTE*>(&value), sizeof(value)),
              ERROR_SUCCESS);
  }

 private:
  static constexpr GUID kRadioInterface = {
      0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};
  static constexpr GUID kSetUpClass = {
      0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};

  HDEVINFO set_ = SetupDiCreateDeviceInfoList(&kSetUpClass, nullptr);
  SP_DEVINFO_DATA device_ = {};
  HKEY key_ = nullptr;
};

TEST_F(ModuleOnWindows, ReadsInTheRegistryWhetherARadioIsDiscoverable) {
  ASSERT_NO_FATAL_FAILURE(LoadModule());
  {
    RegisteredRadio radio;
    for (const auto& [value, state] : {std::pair(1u, 0), {0u, 6}, {3u, 6}, {1u, 0}}) {
      radio.SetWriteScanEnable(value);
      EXPECT_EQ(CheckState(/*need_check_discoverable=*/true), state) << value;
      EXPECT_EQ(CheckState(/*need_check_discoverable=*/false), 0);
    }
  }
  EXPECT_EQ(CheckState(/*need_check_discoverable=*/true), 6) << "there is none";
}

class Reload : public WindowsHostTest {
 protected:
  /// One life of the module: loaded, used for everything that it does, and unloaded.
  void LoadUseAndUnload() {
    ASSERT_NO_FATAL_FAILURE(LoadModule());
    const auto arguments = std::make_shared<Variant>();
    arguments->Set("start", Variant(true));
    arguments->Set("uuid", Variant("12345678-9ABC-DEF0-1234-56789ABCDEF0"));
    EXPECT_EQ(Call(method::kStartWatchBroadcast, arguments), 0);
    EXPECT_EQ(Call(method::kStartBroadcast, arguments), 0);
    RunUntilEvent(event::kStatusInfo);
    SendDeviceChange(HiddenWindow());
    EXPECT_THAT(Take(kEvent), Contains("state 0"));
    UnloadModule();
    for (const char* const file : {"qvs_windows_ble.dll", "plenar_ble_api.dll"}) {
      EXPECT_EQ(GetModuleHandleA(file), nullptr) << file;
    }
  }

  static DWORD HandleCount() {
    DWORD count = 0;
    EXPECT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &count));
    return count;
  }
};

TEST_F(Reload, WorksAgainAndAgainAndLeavesNoHandle) {
  ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());  // the system keeps some of its own from then on
  const DWORD handles = HandleCount();
  for (int i = 0; i < 5; ++i) ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
  EXPECT_LE(HandleCount(), handles);
}

TEST_F(Reload, WorksWhereverTheModuleIsLoaded) {
  ASSERT_NO_FATAL_FAILURE(LoadModule());
  void* const first = module_;
  UnloadModule();
  // What still pointed to the old code would now crash.
  ASSERT_EQ(VirtualAlloc(first, 1, MEM_RESERVE, PAGE_NOACCESS), first);
  ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
  VirtualFree(first, 0, MEM_RELEASE);
}

}  // namespace
}  // namespace qvs_test
