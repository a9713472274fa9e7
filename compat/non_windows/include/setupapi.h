#pragma once

#include <windows.h>

#define DIGCF_PRESENT 0x00000002
#define DIGCF_DEVICEINTERFACE 0x00000010

using HDEVINFO = void*;

struct SP_DEVINFO_DATA {
  DWORD cbSize;
  GUID ClassGuid;
  DWORD DevInst;
  ULONG_PTR Reserved;
};

extern "C" {

SIMULATED_PC_EXPORT HDEVINFO WINAPI SetupDiGetClassDevsA(const GUID* class_guid,
                                                         const char* enumerator, HWND parent,
                                                         DWORD flags);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index,
                                                      SP_DEVINFO_DATA* device);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiGetDeviceInstanceIdA(HDEVINFO set, SP_DEVINFO_DATA* device,
                                                            char* instance_id, DWORD size,
                                                            DWORD* required_size);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO set);

}  // extern "C"
