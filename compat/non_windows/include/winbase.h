#pragma once

#include "windef.h"

extern "C" {

SIMULATED_PC_EXPORT DWORD WINAPI GetLastError();
SIMULATED_PC_EXPORT void WINAPI SetLastError(DWORD error);
SIMULATED_PC_EXPORT BOOL WINAPI CloseHandle(HANDLE object);

/// A bare file name is looked for in the executable's folder, then as the system's loader does.
SIMULATED_PC_EXPORT HMODULE WINAPI LoadLibraryA(LPCSTR file_name);
SIMULATED_PC_EXPORT BOOL WINAPI FreeLibrary(HMODULE module);
SIMULATED_PC_EXPORT FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
SIMULATED_PC_EXPORT HMODULE WINAPI GetModuleHandleA(LPCSTR module_name);
/// The path is written with backslashes.
SIMULATED_PC_EXPORT DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR file_name, DWORD size);

}  // extern "C"
