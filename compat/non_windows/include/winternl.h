#pragma once

#include <windows.h>

struct RTL_OSVERSIONINFOW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  wchar_t szCSDVersion[128];
};
using PRTL_OSVERSIONINFOW = RTL_OSVERSIONINFOW*;

extern "C" SIMULATED_PC_EXPORT NTSTATUS NTAPI RtlGetVersion(PRTL_OSVERSIONINFOW information);
