// What the project's sources take for granted about the Windows headers. Compiled with the real
// ones and with the stand-ins, this keeps the two the same. Most of it is checked by the compiler.

#include <windows.h>
// <windows.h> comes first: the other real headers need it.
#include <bluetoothapis.h>
#include <dbt.h>
#include <gtest/gtest.h>
#include <setupapi.h>
#include <shlwapi.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <type_traits>

namespace {

template <std::size_t Size, typename... Types>
constexpr bool kAreUnsigned = ((std::is_unsigned_v<Types> && sizeof(Types) == Size) && ...);
template <std::size_t Size, typename... Types>
constexpr bool kAreSigned = ((std::is_signed_v<Types> && sizeof(Types) == Size) && ...);
template <typename Expected, typename... Types>
constexpr bool kAre = (std::is_same_v<Types, Expected> && ...);

static_assert(kAre<int, BOOL, INT> && kAre<unsigned int, UINT>);
static_assert(kAreUnsigned<1, BYTE> && kAreUnsigned<2, WORD, ATOM>);
static_assert(kAreUnsigned<4, DWORD, ULONG, REGSAM> && kAreSigned<4, LONG, LSTATUS, NTSTATUS>);
static_assert(kAreUnsigned<8, WPARAM, UINT_PTR, ULONG_PTR, DWORD_PTR>);
static_assert(kAreSigned<8, LPARAM, LRESULT, INT_PTR, LONG_PTR>);
static_assert(kAre<wchar_t, WCHAR> && kAre<wchar_t*, LPWSTR, PWSTR>);
static_assert(kAre<const wchar_t*, LPCWSTR, PCWSTR>);
static_assert(kAre<char*, LPSTR, PSTR> && kAre<const char*, LPCSTR, PCSTR>);
static_assert(kAre<BYTE*, LPBYTE> && kAre<DWORD*, PDWORD, LPDWORD> && kAre<HKEY*, PHKEY>);
static_assert(kAre<void*, HANDLE, HDEVINFO, HDEVNOTIFY, HBLUETOOTH_RADIO_FIND, PVOID, LPVOID>);
static_assert(kAre<HMODULE, HINSTANCE> && !std::is_convertible_v<HWND, HMODULE>);
static_assert(!std::is_convertible_v<HKEY, HWND> && !std::is_convertible_v<HANDLE, HWND>);
static_assert(std::is_same_v<FARPROC, INT_PTR(WINAPI*)()>);
static_assert(std::is_same_v<WNDPROC, LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM)>);

static_assert(sizeof(WNDCLASSEXA) == 80);
static_assert(offsetof(WNDCLASSEXA, lpfnWndProc) == 8);
static_assert(offsetof(WNDCLASSEXA, hInstance) == 24);
static_assert(offsetof(WNDCLASSEXA, lpszClassName) == 64);
static_assert(offsetof(WNDCLASSEXA, hIconSm) == 72);
static_assert(sizeof(CREATESTRUCTA) == 80);
static_assert(offsetof(CREATESTRUCTA, hwndParent) == 24);
static_assert(offsetof(CREATESTRUCTA, style) == 48);
static_assert(offsetof(CREATESTRUCTA, dwExStyle) == 72);
static_assert(sizeof(MSG) == 48);
static_assert(offsetof(MSG, wParam) == 16 && offsetof(MSG, lParam) == 24);
static_assert(offsetof(MSG, time) == 32 && offsetof(MSG, pt) == 36);
static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data2) == 4 && offsetof(GUID, Data4) == 8);
static_assert(sizeof(DEV_BROADCAST_DEVICEINTERFACE_A) == 32);
static_assert(offsetof(DEV_BROADCAST_DEVICEINTERFACE_A, dbcc_classguid) == 12);
static_assert(offsetof(DEV_BROADCAST_DEVICEINTERFACE_A, dbcc_name) == 28);
static_assert(sizeof(SP_DEVINFO_DATA) == 32);
static_assert(offsetof(SP_DEVINFO_DATA, ClassGuid) == 4);
static_assert(offsetof(SP_DEVINFO_DATA, DevInst) == 20);
static_assert(offsetof(SP_DEVINFO_DATA, Reserved) == 24);
static_assert(sizeof(BLUETOOTH_FIND_RADIO_PARAMS) == 4);
static_assert(offsetof(RTL_OSVERSIONINFOW, dwPlatformId) == 16);
static_assert(offsetof(RTL_OSVERSIONINFOW, szCSDVersion) == 20);
static_assert(sizeof(RTL_OSVERSIONINFOW) == 20 + 128 * sizeof(WCHAR));

static_assert(TRUE == 1 && FALSE == 0 && MAX_PATH == 260);
static_assert(WM_NULL == 0 && WM_CREATE == 1 && WM_DESTROY == 2 && WM_CLOSE == 0x10);
static_assert(WM_NCCREATE == 0x81 && WM_NCDESTROY == 0x82 && WM_DEVICECHANGE == 0x219);
static_assert(WM_USER == 0x400 && WM_APP == 0x8000 && PM_NOREMOVE == 0 && PM_REMOVE == 1);
static_assert(WS_OVERLAPPEDWINDOW == 0x00CF0000 && WS_CHILD == 0x40000000);
static_assert(DEVICE_NOTIFY_WINDOW_HANDLE == 0);
static_assert(DBT_DEVNODES_CHANGED == 7 && DBT_DEVTYP_DEVICEINTERFACE == 5);
static_assert(DBT_DEVICEARRIVAL == 0x8000 && DBT_DEVICEREMOVECOMPLETE == 0x8004);
static_assert(DIGCF_PRESENT == 0x2 && DIGCF_DEVICEINTERFACE == 0x10);
static_assert(KEY_QUERY_VALUE == 1 && KEY_READ == 0x20019);
static_assert(REG_NONE == 0 && REG_SZ == 1 && REG_BINARY == 3 && REG_DWORD == 4);

static_assert(ERROR_SUCCESS == 0);
static_assert(ERROR_FILE_NOT_FOUND == 2 && ERROR_ACCESS_DENIED == 5);
static_assert(ERROR_INVALID_HANDLE == 6 && ERROR_NOT_ENOUGH_MEMORY == 8);
static_assert(ERROR_INVALID_DATA == 13 && ERROR_INVALID_PARAMETER == 87);
static_assert(ERROR_INSUFFICIENT_BUFFER == 122 && ERROR_MOD_NOT_FOUND == 126);
static_assert(ERROR_PROC_NOT_FOUND == 127 && ERROR_BAD_PATHNAME == 161);
static_assert(ERROR_BAD_EXE_FORMAT == 193 && ERROR_MORE_DATA == 234);
static_assert(ERROR_NO_MORE_ITEMS == 259 && ERROR_KEY_DELETED == 1018);
static_assert(ERROR_NO_UNICODE_TRANSLATION == 1113 && ERROR_MESSAGE_SYNC_ONLY == 1159);
static_assert(ERROR_REVISION_MISMATCH == 1306 && ERROR_INVALID_WINDOW_HANDLE == 1400);
static_assert(ERROR_TLW_WITH_WSCHILD == 1406 && ERROR_CANNOT_FIND_WND_CLASS == 1407);
static_assert(ERROR_CLASS_ALREADY_EXISTS == 1410 && ERROR_CLASS_DOES_NOT_EXIST == 1411);
static_assert(ERROR_CLASS_HAS_WINDOWS == 1412 && ERROR_INVALID_USER_BUFFER == 1784);

// Each call with its type, so that one that drifts is named by the compiler's message.
#define CALL_HAS_TYPE(call, result, ...) \
  static_assert(std::is_same_v<decltype(&call), result(WINAPI*) __VA_ARGS__>)

CALL_HAS_TYPE(GetLastError, DWORD, ());
CALL_HAS_TYPE(SetLastError, void, (DWORD));
CALL_HAS_TYPE(CloseHandle, BOOL, (HANDLE));
CALL_HAS_TYPE(LoadLibraryA, HMODULE, (LPCSTR));
CALL_HAS_TYPE(FreeLibrary, BOOL, (HMODULE));
CALL_HAS_TYPE(GetProcAddress, FARPROC, (HMODULE, LPCSTR));
CALL_HAS_TYPE(GetModuleHandleA, HMODULE, (LPCSTR));
CALL_HAS_TYPE(GetModuleFileNameW, DWORD, (HMODULE, LPWSTR, DWORD));
CALL_HAS_TYPE(PathRemoveFileSpecW, BOOL, (LPWSTR));
CALL_HAS_TYPE(RegisterClassExA, ATOM, (const WNDCLASSEXA*));
CALL_HAS_TYPE(UnregisterClassA, BOOL, (LPCSTR, HINSTANCE));
CALL_HAS_TYPE(CreateWindowExA, HWND,
              (DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, LPVOID));
CALL_HAS_TYPE(DestroyWindow, BOOL, (HWND));
CALL_HAS_TYPE(IsWindow, BOOL, (HWND));
CALL_HAS_TYPE(DefWindowProcA, LRESULT, (HWND, UINT, WPARAM, LPARAM));
CALL_HAS_TYPE(PeekMessageA, BOOL, (LPMSG, HWND, UINT, UINT, UINT));
CALL_HAS_TYPE(DispatchMessageA, LRESULT, (const MSG*));
CALL_HAS_TYPE(PostMessageA, BOOL, (HWND, UINT, WPARAM, LPARAM));
CALL_HAS_TYPE(SendMessageA, LRESULT, (HWND, UINT, WPARAM, LPARAM));
CALL_HAS_TYPE(RegisterDeviceNotificationA, HDEVNOTIFY, (HANDLE, LPVOID, DWORD));
CALL_HAS_TYPE(UnregisterDeviceNotification, BOOL, (HDEVNOTIFY));
CALL_HAS_TYPE(SetupDiGetClassDevsA, HDEVINFO, (const GUID*, PCSTR, HWND, DWORD));
CALL_HAS_TYPE(SetupDiEnumDeviceInfo, BOOL, (HDEVINFO, DWORD, PSP_DEVINFO_DATA));
CALL_HAS_TYPE(SetupDiGetDeviceInstanceIdA, BOOL, (HDEVINFO, PSP_DEVINFO_DATA, PSTR, DWORD, PDWORD));
CALL_HAS_TYPE(SetupDiDestroyDeviceInfoList, BOOL, (HDEVINFO));
CALL_HAS_TYPE(RegOpenKeyExA, LSTATUS, (HKEY, LPCSTR, DWORD, REGSAM, PHKEY));
CALL_HAS_TYPE(RegQueryValueExA, LSTATUS, (HKEY, LPCSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD));
CALL_HAS_TYPE(RegCloseKey, LSTATUS, (HKEY));
CALL_HAS_TYPE(BluetoothFindFirstRadio, HBLUETOOTH_RADIO_FIND,
              (BLUETOOTH_FIND_RADIO_PARAMS*, HANDLE*));
CALL_HAS_TYPE(BluetoothFindRadioClose, BOOL, (HBLUETOOTH_RADIO_FIND));

// The C library's call has C++ overloads on Windows; this selects the one that is meant.
static_assert(std::is_same_v<errno_t, int> && std::is_same_v<rsize_t, std::size_t>);
[[maybe_unused]] constexpr errno_t (*kConcatenate)(wchar_t*, rsize_t, const wchar_t*) = wcscat_s;

// Values made with a cast to a pointer, which the compiler cannot compare.
TEST(WindowsLayout, HasTheHandleValuesOfTheSystem) {
  const auto value = [](const void* handle) { return reinterpret_cast<std::uintptr_t>(handle); };
  EXPECT_EQ(value(INVALID_HANDLE_VALUE), UINTPTR_MAX);
  EXPECT_EQ(value(HKEY_LOCAL_MACHINE), 0xFFFFFFFF80000002);
  EXPECT_EQ(value(HWND_MESSAGE), UINTPTR_MAX - 2);
}

}  // namespace
