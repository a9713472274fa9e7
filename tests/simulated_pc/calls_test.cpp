#include <bluetoothapis.h>
#include <setupapi.h>
#include <shlwapi.h>
#include <winternl.h>

#include <cerrno>
#include <map>

#include "tests/simulated_pc/pc_test.h"

namespace {

using CallsTest = PcTest;
using Call = std::pair<const char*, DWORD (*)()>;

/// A call with nothing but zeros. Its error is what it returns plus what it leaves as the last
/// error, so that doing both is wrong; -1 is the handle of a failure.
template <auto call, typename Result, typename... Arguments>
Call Zeros(const char* name, Result (*)(Arguments...)) {
  return {name, [] {
            SetLastError(0);
            const auto result = std::intptr_t(call(Arguments()...));
            return static_cast<DWORD>(result == -1 ? 0 : result) + GetLastError();
          }};
}
#define CALL(call) Zeros<call>(#call, call)

TEST_F(CallsTest, EachIsObservedAndFailsOnRequestAfterTheSkippedOnes) {
  const auto list = [](auto... calls) { return std::vector<Call>{calls...}; };
  const std::vector<Call> calls =
      list(CALL(CloseHandle), CALL(LoadLibraryA), CALL(FreeLibrary), CALL(GetProcAddress),
           CALL(GetModuleHandleA), CALL(GetModuleFileNameW), CALL(RegisterClassExA),
           CALL(UnregisterClassA), CALL(CreateWindowExA), CALL(DestroyWindow),
           CALL(RegisterDeviceNotificationA), CALL(UnregisterDeviceNotification),
           CALL(SetupDiGetClassDevsA), CALL(SetupDiEnumDeviceInfo),
           CALL(SetupDiGetDeviceInstanceIdA), CALL(SetupDiDestroyDeviceInfoList),
           CALL(BluetoothFindFirstRadio), CALL(BluetoothFindRadioClose), CALL(RegOpenKeyExA),
           CALL(RegQueryValueExA), CALL(RegCloseKey), CALL(RtlGetVersion), CALL(wcscat_s));
  std::map<std::string, int> seen;
  Pc().SetCallObserver([&](std::string_view name, const std::string&) {
    ++seen[std::string(name)];
    if (name.starts_with("Reg")) SetLastError(1);  // The program must not see it.
  });
  for (const auto& [name, error] : calls) Pc().FailNext(name, 4711, 2, 1);
  for (const auto& [name, error] : calls) {
    for (const bool fails : {false, true, true, false}) EXPECT_EQ(error() == 4711, fails) << name;
    EXPECT_EQ(seen[name], 4) << name;
    Pc().FailNext(name, 4711);
  }
  Pc().Reset();
  for (const auto& [name, error] : calls) EXPECT_NE(error(), 4711u) << name;
}

TEST_F(CallsTest, LibrariesAreLoadedFromTheExecutablesFolderAndCounted) {
  constexpr char kName[] = "plenar_ble_api.dll";
  Pc().SetExecutablePath("/nowhere/host");
  EXPECT_EQ(ErrorOf(LoadLibraryA(kName)), ERROR_MOD_NOT_FOUND);
  Pc().SetExecutablePath({});
  EXPECT_EQ(ErrorOf(LoadLibraryA("plenar_trust.pem")), ERROR_BAD_EXE_FORMAT);
  const HMODULE module = LoadLibraryA(kName);
  EXPECT_EQ(Pc().LibraryLoadCount(kName), 1);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(Pc().LibraryLoadCount(kName), 0);
}

TEST_F(CallsTest, PathsAreWideAndEndWhereTheirBufferDoes) {
  Pc().SetExecutablePath("/b\xC3\xA4/host");
  wchar_t path[9] = {};
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, 8), 8u);
  EXPECT_STREQ(path, L"\\b\u00E4\\hos");
  EXPECT_EQ(wcscat_s(path, 9, L"t"), 0);
  EXPECT_STREQ(path, L"\\b\u00E4\\host");
  EXPECT_EQ(wcscat_s(path, 9, L"s"), ERANGE);
  EXPECT_STREQ(path, L"") << "it is emptied";
}

}  // namespace
