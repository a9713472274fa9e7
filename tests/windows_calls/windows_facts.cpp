// Compiled with the real Windows headers and with the stand-ins: sizes, places and values that the
// project's sources and tests take for granted are the same in both.

#include <windows.h>
// <windows.h> comes first: the other real headers need it.
#include <bluetoothapis.h>
#include <dbt.h>
#include <setupapi.h>
#include <winternl.h>

#include <cstddef>

static_assert(sizeof(DWORD) == 4 && sizeof(WPARAM) == 8 && sizeof(LRESULT) == 8);
static_assert(sizeof(WNDCLASSEXA) == 80 && offsetof(WNDCLASSEXA, lpszClassName) == 64);
static_assert(sizeof(DEV_BROADCAST_DEVICEINTERFACE_A) == 32);
static_assert(offsetof(DEV_BROADCAST_DEVICEINTERFACE_A, dbcc_classguid) == 12);
static_assert(sizeof(SP_DEVINFO_DATA) == 32 && offsetof(SP_DEVINFO_DATA, DevInst) == 20);
static_assert(sizeof(BLUETOOTH_FIND_RADIO_PARAMS) == 4);
static_assert(sizeof(RTL_OSVERSIONINFOW) == 20 + 128 * sizeof(wchar_t));

static_assert(WM_DEVICECHANGE == 0x219 && DBT_DEVNODES_CHANGED == 7);
static_assert(WS_OVERLAPPEDWINDOW == 0x00CF0000 && DEVICE_NOTIFY_WINDOW_HANDLE == 0);
static_assert((DIGCF_PRESENT | DIGCF_DEVICEINTERFACE) == 18);
static_assert(KEY_READ == 131097 && REG_DWORD == 4 && DBT_DEVTYP_DEVICEINTERFACE == 5);
