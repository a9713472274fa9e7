#include <bluetoothapis.h>
#include <gtest/gtest.h>
#include <setupapi.h>
#include <shlwapi.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>
#include <winternl.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using simulated_pc::SimulatedPc;

SimulatedPc& Pc() {
  return SimulatedPc::Get();
}

/// The error of a call that reports it through `GetLastError`.
template <typename Call>
DWORD LastErrorOf(Call call) {
  SetLastError(0);
  static_cast<void>(call());
  return GetLastError();
}

struct FailingCall {
  const char* name;
  DWORD (*error)();
};

#define REPORTS_LAST_ERROR(call, ...)                                   \
  {                                                                     \
#call, [] { return LastErrorOf([] { return call(__VA_ARGS__); }); } \
  }
#define RETURNS_ERROR(call, ...)                                \
  {                                                             \
#call, [] { return static_cast<DWORD>(call(__VA_ARGS__)); } \
  }

const FailingCall kCalls[] = {
    REPORTS_LAST_ERROR(CloseHandle, nullptr),
    REPORTS_LAST_ERROR(LoadLibraryA, "nothing"),
    REPORTS_LAST_ERROR(FreeLibrary, nullptr),
    REPORTS_LAST_ERROR(GetProcAddress, nullptr, "nothing"),
    REPORTS_LAST_ERROR(GetModuleHandleA, nullptr),
    REPORTS_LAST_ERROR(GetModuleFileNameW, nullptr, nullptr, 0),
    REPORTS_LAST_ERROR(PathRemoveFileSpecW, nullptr),
    REPORTS_LAST_ERROR(RegisterClassExA, nullptr),
    REPORTS_LAST_ERROR(UnregisterClassA, nullptr, nullptr),
    REPORTS_LAST_ERROR(CreateWindowExA, 0, nullptr, nullptr, 0, 0, 0, 0, 0, nullptr, nullptr,
                       nullptr, nullptr),
    REPORTS_LAST_ERROR(DestroyWindow, nullptr),
    REPORTS_LAST_ERROR(IsWindow, nullptr),
    REPORTS_LAST_ERROR(DefWindowProcA, nullptr, WM_NULL, 0, 0),
    REPORTS_LAST_ERROR(PeekMessageA, nullptr, nullptr, 0, 0, PM_REMOVE),
    REPORTS_LAST_ERROR(DispatchMessageA, nullptr),
    REPORTS_LAST_ERROR(PostMessageA, nullptr, WM_NULL, 0, 0),
    REPORTS_LAST_ERROR(SendMessageA, nullptr, WM_NULL, 0, 0),
    REPORTS_LAST_ERROR(RegisterDeviceNotificationA, nullptr, nullptr, 0),
    REPORTS_LAST_ERROR(UnregisterDeviceNotification, nullptr),
    REPORTS_LAST_ERROR(SetupDiGetClassDevsA, nullptr, nullptr, nullptr, 0),
    REPORTS_LAST_ERROR(SetupDiEnumDeviceInfo, nullptr, 0, nullptr),
    REPORTS_LAST_ERROR(SetupDiGetDeviceInstanceIdA, nullptr, nullptr, nullptr, 0, nullptr),
    REPORTS_LAST_ERROR(SetupDiDestroyDeviceInfoList, nullptr),
    REPORTS_LAST_ERROR(BluetoothFindFirstRadio, nullptr, nullptr),
    REPORTS_LAST_ERROR(BluetoothFindRadioClose, nullptr),
    RETURNS_ERROR(RegOpenKeyExA, HKEY_LOCAL_MACHINE, "SYSTEM", 0, KEY_READ, nullptr),
    RETURNS_ERROR(RegQueryValueExA, HKEY_LOCAL_MACHINE, "x", nullptr, nullptr, nullptr, nullptr),
    RETURNS_ERROR(RegCloseKey, HKEY_LOCAL_MACHINE),
    RETURNS_ERROR(RtlGetVersion, nullptr),
    RETURNS_ERROR(wcscat_s, nullptr, 0, nullptr),
};

class CallsTest : public testing::Test {
 protected:
  void SetUp() override { Pc().Reset(); }
};

TEST_F(CallsTest, EachFailsOnRequestAfterTheSkippedOnes) {
  constexpr DWORD kInjected = 4711;
  for (const FailingCall& call : kCalls) {
    SCOPED_TRACE(call.name);
    Pc().FailNext(call.name, kInjected, 2, 1);
    EXPECT_NE(call.error(), kInjected);
    EXPECT_EQ(call.error(), kInjected);
    EXPECT_EQ(call.error(), kInjected);
    EXPECT_NE(call.error(), kInjected);
  }
}

TEST_F(CallsTest, OnlyTheNamedCallFailsAndResetForgetsFailures) {
  Pc().FailNext("RegCloseKey", 5);
  EXPECT_EQ(RegQueryValueExA(HKEY_LOCAL_MACHINE, "x", nullptr, nullptr, nullptr, nullptr),
            ERROR_FILE_NOT_FOUND);
  Pc().Reset();
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
}

TEST_F(CallsTest, EachIsToldToTheObserver) {
  std::vector<std::string> seen;
  Pc().SetCallObserver([&](simulated_pc::CallName name, const std::string&) {
    if (name != "GetLastError" && name != "SetLastError") seen.emplace_back(name);
  });
  for (const FailingCall& call : kCalls) call.error();
  Pc().SetCallObserver({});
  CloseHandle(nullptr);

  ASSERT_EQ(seen.size(), std::size(kCalls));
  for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], kCalls[i].name);
}

TEST_F(CallsTest, TheObserverGetsTheArgumentsAndMayMakeCallsItself) {
  std::string arguments;
  Pc().SetCallObserver([&](simulated_pc::CallName name, const std::string& words) {
    if (name == "RegOpenKeyExA") arguments = words;
    if (name == "CloseHandle") {
      Pc().SetRadioOn(false);
      SetLastError(1);
    }
  });
  HKEY key = nullptr;
  RegOpenKeyExA(nullptr, "SYSTEM", 0, KEY_READ, &key);
  EXPECT_EQ(arguments, "null, \"SYSTEM\", 0, 131097");

  SetLastError(77);
  CloseHandle(INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 77u) << "the observer's own error is not the program's";
}

TEST_F(CallsTest, LastErrorBelongsToTheThread) {
  SetLastError(1);
  std::thread([] {
    EXPECT_EQ(GetLastError(), 0u);
    SetLastError(2);
  }).join();
  EXPECT_EQ(GetLastError(), 1u);
}

TEST_F(CallsTest, RegistryCallsLeaveTheLastErrorAlone) {
  SetLastError(77);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "nothing", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GetLastError(), 77u);
}

}  // namespace
