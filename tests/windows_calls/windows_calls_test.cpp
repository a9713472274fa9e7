// What the module relies on of the calls that it makes.

#include <windows.h>
// Need what <windows.h> declares.
#include <dbt.h>
#include <setupapi.h>
#include <shlwapi.h>

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

/// The last error of a call that returned null, success for any other result.
template <class Result>
DWORD ErrorOf(Result result) {
  return result ? ERROR_SUCCESS : GetLastError();
}

TEST(Libraries, AreLoadedFromTheProgramsFolderCountedAndFoundWhileLoaded) {
  constexpr char kLibrary[] = "plenar_ble_api.dll";
  EXPECT_EQ(ErrorOf(LoadLibraryA("no_such_library.dll")), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(ErrorOf(GetModuleHandleA(kLibrary)), ERROR_MOD_NOT_FOUND);
  const HMODULE library = LoadLibraryA(kLibrary);
  ASSERT_NE(library, nullptr);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  PathRemoveFileSpecW(path);
  EXPECT_EQ(LoadLibraryW((path + std::wstring(L"\\plenar_ble_api.dll")).c_str()), library);
  EXPECT_NE(GetProcAddress(library, "BleInit"), nullptr);
  EXPECT_EQ(ErrorOf(GetProcAddress(library, "bleinit")), ERROR_PROC_NOT_FOUND);
  for (int load = 0; load < 2; ++load) {
    EXPECT_EQ(GetModuleHandleA(kLibrary), library);
    EXPECT_TRUE(FreeLibrary(library));
  }
  EXPECT_EQ(GetModuleHandleA(kLibrary), nullptr);
  EXPECT_FALSE(FreeLibrary(library));
}

TEST(Paths, LoseTheirLastNameButNotTheRoot) {
  const std::pair<std::wstring, std::wstring> cases[] = {{L"\\a\\b.exe", L"\\a"},
                                                         {L"\\b.exe", L"\\"},
                                                         {L"\\", L"\\"},
                                                         {L"b.exe", L""},
                                                         {L"a\\", L"a"}};
  for (const auto& [path, left] : cases) {
    std::wstring cut = path;
    EXPECT_EQ(PathRemoveFileSpecW(cut.data()) != FALSE, path != left);
    EXPECT_STREQ(cut.c_str(), left.c_str());
  }
}

/// How the window procedure answers when its window is created.
LRESULT on_creation = TRUE;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE && on_creation == FALSE) return FALSE;
  return DefWindowProcA(window, message, wparam, lparam);
}

constexpr char kClass[] = "QvsCallsTest";

DWORD Register() {
  WNDCLASSEXA description = {};
  description.cbSize = sizeof(description);
  description.lpfnWndProc = Procedure;
  description.lpszClassName = kClass;
  return ErrorOf(RegisterClassExA(&description));
}

HWND Create() {
  return CreateWindowExA(0, kClass, nullptr, WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                         GetModuleHandleA(nullptr), nullptr);
}

DWORD Unregister() {
  return ErrorOf(UnregisterClassA(kClass, GetModuleHandleA(nullptr)));
}

TEST(WindowClasses, AreThereOnceAndStayWhileTheyHaveWindows) {
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(Register(), ERROR_SUCCESS);
  EXPECT_EQ(Register(), ERROR_CLASS_ALREADY_EXISTS);
  const HWND window = Create();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(Unregister(), ERROR_CLASS_HAS_WINDOWS);
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_FALSE(DestroyWindow(window));
  on_creation = FALSE;
  EXPECT_EQ(Create(), nullptr) << "the procedure refuses";
  EXPECT_EQ(Unregister(), ERROR_SUCCESS);
  EXPECT_EQ(Unregister(), ERROR_CLASS_DOES_NOT_EXIST);
}

TEST(DeviceNotifications, AreForAWindowAndOutliveIt) {
  on_creation = TRUE;
  ASSERT_EQ(Register(), ERROR_SUCCESS);
  const HWND window = Create();
  DEV_BROADCAST_DEVICEINTERFACE_A filter = {};
  filter.dbcc_size = sizeof(filter);
  filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  const auto add = [&filter](HWND recipient) {
    return RegisterDeviceNotificationA(recipient, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
  };
  EXPECT_EQ(add(nullptr), nullptr);
  EXPECT_FALSE(UnregisterDeviceNotification(nullptr));
  const HDEVNOTIFY notification = add(window);
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_TRUE(UnregisterDeviceNotification(notification));
  EXPECT_EQ(Unregister(), ERROR_SUCCESS);
}

TEST(Devices, OfAnUnknownClassOrIdentifierAreNotThere) {
  constexpr GUID kUnknownClass = {
      0x6B21F5A4, 0x1D0C, 0x4B6E, {0x9A, 0x0E, 0x52, 0x3B, 0x77, 0x10, 0x4C, 0xF1}};
  const HDEVINFO set =
      SetupDiGetClassDevsA(&kUnknownClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
  ASSERT_NE(set, INVALID_HANDLE_VALUE);
  SP_DEVINFO_DATA device = {};
  EXPECT_EQ(ErrorOf(SetupDiEnumDeviceInfo(set, 0, &device)), ERROR_INVALID_USER_BUFFER);
  device.cbSize = sizeof(device);
  EXPECT_EQ(ErrorOf(SetupDiEnumDeviceInfo(set, 0, &device)), ERROR_NO_MORE_ITEMS);
  EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
  EXPECT_FALSE(SetupDiDestroyDeviceInfoList(set));

  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE,
                          "SYSTEM\\CurrentControlSet\\Enum\\USB\\NONE\\Device Parameters", 0,
                          KEY_READ, &key),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

}  // namespace
