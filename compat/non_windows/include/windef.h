#pragma once

#include <cstdint>

#include <simulated_pc/simulated_pc_export.h>

/// The basic types, with the sizes that they have on 64-bit Windows; `WCHAR` alone has this
/// platform's size.

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
using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LSTATUS = LONG;
using NTSTATUS = LONG;
using ACCESS_MASK = DWORD;
using REGSAM = ACCESS_MASK;

using INT_PTR = long long;
using UINT_PTR = unsigned long long;
using LONG_PTR = long long;
using ULONG_PTR = unsigned long long;
using DWORD_PTR = ULONG_PTR;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;

using CHAR = char;
using WCHAR = wchar_t;
using LPSTR = char*;
using PSTR = char*;
using LPCSTR = const char*;
using PCSTR = const char*;
using LPWSTR = wchar_t*;
using PWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PCWSTR = const wchar_t*;
using LPBYTE = BYTE*;
using PDWORD = DWORD*;
using LPDWORD = DWORD*;
using PVOID = void*;
using LPVOID = void*;

using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;
using HMENU = struct HMENU__*;
using HICON = struct HICON__*;
using HCURSOR = HICON;
using HBRUSH = struct HBRUSH__*;
using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using FARPROC = INT_PTR(WINAPI*)();

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};

struct POINT {
  LONG x;
  LONG y;
};
