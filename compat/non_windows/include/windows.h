#pragma once

/// The part of the Windows interface that the module, the base library and the host use, for the
/// platforms that do not have it: names, types, values and layouts are those of the real headers,
/// with the sizes of 64-bit Windows; `wchar_t` alone has this platform's size. The calls work on
/// the machine that <simulated_pc/simulated_pc.h> sets up. Arguments for which the project always
/// gives null or zero are not looked at.

#include <cstddef>
#include <cstdint>

#include <simulated_pc/simulated_pc_export.h>

// ---- Types ----

#define WINAPI
#define CALLBACK
#define NTAPI

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260

using BOOL = int;
using BYTE = unsigned char;
using WORD = unsigned short;
using ATOM = WORD;
using UINT = unsigned int;
using LONG = std::int32_t;
using DWORD = std::uint32_t;
using LSTATUS = LONG;
using NTSTATUS = LONG;

using ULONG_PTR = unsigned long long;
using LONG_PTR = long long;
using WPARAM = ULONG_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;

using HANDLE = void*;
using HDEVNOTIFY = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;
using HMENU = struct HMENU__*;
using HICON = struct HICON__*;
using HBRUSH = struct HBRUSH__*;
using HKEY = struct HKEY__*;
using FARPROC = LONG_PTR(WINAPI*)();
using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};

// ---- Errors ----

#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_INVALID_DATA 13
#define ERROR_INVALID_PARAMETER 87
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_MORE_DATA 234
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_REVISION_MISMATCH 1306
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_CANNOT_FIND_WND_CLASS 1407
#define ERROR_CLASS_ALREADY_EXISTS 1410
#define ERROR_CLASS_DOES_NOT_EXIST 1411
#define ERROR_CLASS_HAS_WINDOWS 1412
#define ERROR_INVALID_USER_BUFFER 1784

extern "C" {

SIMULATED_PC_EXPORT DWORD WINAPI GetLastError();

// ---- Libraries ----

/// A bare file name is looked for in the executable's folder, then as the system's loader does.
SIMULATED_PC_EXPORT HMODULE WINAPI LoadLibraryA(const char* file_name);
SIMULATED_PC_EXPORT HMODULE WINAPI LoadLibraryW(const wchar_t* file_name);
SIMULATED_PC_EXPORT BOOL WINAPI FreeLibrary(HMODULE module);
SIMULATED_PC_EXPORT FARPROC WINAPI GetProcAddress(HMODULE module, const char* name);
/// Finds what loading it would give, if it is loaded, by whomever; null is the executable.
SIMULATED_PC_EXPORT HMODULE WINAPI GetModuleHandleA(const char* file_name);
/// Of the executable; with backslashes.
SIMULATED_PC_EXPORT DWORD WINAPI GetModuleFileNameW(HMODULE module, wchar_t* path, DWORD size);

// ---- Windows and messages ----

#define WM_NCCREATE 0x0081
#define WM_DEVICECHANGE 0x0219
#define PM_REMOVE 0x0001
#define WS_OVERLAPPEDWINDOW 0x00CF0000U
#define DEVICE_NOTIFY_WINDOW_HANDLE 0x00000000

struct WNDCLASSEXA {
  UINT cbSize;
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HICON hCursor;
  HBRUSH hbrBackground;
  const char* lpszMenuName;
  const char* lpszClassName;
  HICON hIconSm;
};

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

SIMULATED_PC_EXPORT ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* description);
SIMULATED_PC_EXPORT BOOL WINAPI UnregisterClassA(const char* class_name, HINSTANCE instance);
SIMULATED_PC_EXPORT HWND WINAPI CreateWindowExA(DWORD extended_style, const char* class_name,
                                                const char* title, DWORD style, int x, int y,
                                                int width, int height, HWND parent, HMENU menu,
                                                HINSTANCE instance, void* parameter);
SIMULATED_PC_EXPORT BOOL WINAPI DestroyWindow(HWND window);
SIMULATED_PC_EXPORT LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM wparam,
                                                  LPARAM lparam);
SIMULATED_PC_EXPORT BOOL WINAPI PeekMessageA(MSG* message, HWND window, UINT first, UINT last,
                                             UINT remove);
SIMULATED_PC_EXPORT LRESULT WINAPI DispatchMessageA(const MSG* message);
SIMULATED_PC_EXPORT HDEVNOTIFY WINAPI RegisterDeviceNotificationA(HANDLE recipient, void* filter,
                                                                  DWORD flags);
SIMULATED_PC_EXPORT BOOL WINAPI UnregisterDeviceNotification(HDEVNOTIFY notification);

// ---- Registry and handles ----

#define HKEY_LOCAL_MACHINE \
  (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000002))))
#define KEY_READ 0x20019
#define REG_DWORD 4

SIMULATED_PC_EXPORT LSTATUS WINAPI RegOpenKeyExA(HKEY key, const char* sub_key, DWORD options,
                                                 DWORD access, HKEY* result);
SIMULATED_PC_EXPORT LSTATUS WINAPI RegQueryValueExA(HKEY key, const char* name, DWORD* reserved,
                                                    DWORD* type, BYTE* data, DWORD* size);
SIMULATED_PC_EXPORT LSTATUS WINAPI RegCloseKey(HKEY key);
SIMULATED_PC_EXPORT BOOL WINAPI CloseHandle(HANDLE object);

// ---- The C library's bounds-checked calls, which the other platforms' <cwchar> does not have ----

using errno_t = int;
using rsize_t = std::size_t;

/// A text that does not fit empties `destination` and gives ERANGE; nothing is aborted.
SIMULATED_PC_EXPORT errno_t wcscat_s(wchar_t* destination, rsize_t capacity, const wchar_t* source);

}  // extern "C"
