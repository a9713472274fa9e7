#pragma once

#include "windef.h"

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_CLOSE 0x0010
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_DEVICECHANGE 0x0219
#define WM_USER 0x0400
#define WM_APP 0x8000

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

#define WS_OVERLAPPEDWINDOW 0x00CF0000U
#define WS_CHILD 0x40000000U
#define HWND_MESSAGE (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3)))

#define DEVICE_NOTIFY_WINDOW_HANDLE 0x00000000

using HDEVNOTIFY = PVOID;
using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);

struct WNDCLASSEXA {
  UINT cbSize;
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
  HICON hIconSm;
};
static_assert(sizeof(WNDCLASSEXA) == 80);

struct CREATESTRUCTA {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCSTR lpszName;
  LPCSTR lpszClass;
  DWORD dwExStyle;
};
static_assert(sizeof(CREATESTRUCTA) == 80);

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;
static_assert(sizeof(MSG) == 48);

extern "C" {

SIMULATED_PC_EXPORT ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* description);
SIMULATED_PC_EXPORT BOOL WINAPI UnregisterClassA(LPCSTR class_name, HINSTANCE instance);

/// Windows have no children here: a parent other than null and `HWND_MESSAGE` is refused.
SIMULATED_PC_EXPORT HWND WINAPI CreateWindowExA(DWORD extended_style, LPCSTR class_name,
                                                LPCSTR title, DWORD style, int x, int y, int width,
                                                int height, HWND parent, HMENU menu,
                                                HINSTANCE instance, LPVOID parameter);
SIMULATED_PC_EXPORT BOOL WINAPI DestroyWindow(HWND window);
SIMULATED_PC_EXPORT BOOL WINAPI IsWindow(HWND window);
SIMULATED_PC_EXPORT LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM wparam,
                                                  LPARAM lparam);

SIMULATED_PC_EXPORT BOOL WINAPI PeekMessageA(LPMSG message, HWND window, UINT first, UINT last,
                                             UINT remove);
SIMULATED_PC_EXPORT LRESULT WINAPI DispatchMessageA(const MSG* message);
SIMULATED_PC_EXPORT BOOL WINAPI PostMessageA(HWND window, UINT message, WPARAM wparam,
                                             LPARAM lparam);
SIMULATED_PC_EXPORT LRESULT WINAPI SendMessageA(HWND window, UINT message, WPARAM wparam,
                                                LPARAM lparam);

SIMULATED_PC_EXPORT HDEVNOTIFY WINAPI RegisterDeviceNotificationA(HANDLE recipient, LPVOID filter,
                                                                  DWORD flags);
SIMULATED_PC_EXPORT BOOL WINAPI UnregisterDeviceNotification(HDEVNOTIFY notification);

}  // extern "C"
