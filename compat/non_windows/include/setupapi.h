#pragma once

#include "windef.h"

#define DIGCF_PRESENT 0x00000002
#define DIGCF_DEVICEINTERFACE 0x00000010

using HDEVINFO = PVOID;

struct SP_DEVINFO_DATA {
  DWORD cbSize;
  GUID ClassGuid;
  DWORD DevInst;
  ULONG_PTR Reserved;
};
using PSP_DEVINFO_DATA = SP_DEVINFO_DATA*;
static_assert(sizeof(SP_DEVINFO_DATA) == 32);

extern "C" {

SIMULATED_PC_EXPORT HDEVINFO WINAPI SetupDiGetClassDevsA(const GUID* class_guid, PCSTR enumerator,
                                                         HWND parent, DWORD flags);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index,
                                                      PSP_DEVINFO_DATA device);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiGetDeviceInstanceIdA(HDEVINFO set, PSP_DEVINFO_DATA device,
                                                            PSTR instance_id, DWORD size,
                                                            PDWORD required_size);
SIMULATED_PC_EXPORT BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO set);

}  // extern "C"
