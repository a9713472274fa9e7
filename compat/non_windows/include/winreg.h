#pragma once

#include "windef.h"

#define HKEY_LOCAL_MACHINE \
  (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000002))))

#define KEY_QUERY_VALUE 0x0001
#define KEY_READ 0x20019

#define REG_NONE 0
#define REG_SZ 1
#define REG_BINARY 3
#define REG_DWORD 4

extern "C" {

SIMULATED_PC_EXPORT LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD options,
                                                 REGSAM access, PHKEY result);
SIMULATED_PC_EXPORT LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved,
                                                    LPDWORD type, LPBYTE data, LPDWORD size);
SIMULATED_PC_EXPORT LSTATUS WINAPI RegCloseKey(HKEY key);

}  // extern "C"
