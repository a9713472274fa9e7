#pragma once

#include <windows.h>

#define DBT_DEVNODES_CHANGED 0x0007
#define DBT_DEVTYP_DEVICEINTERFACE 0x00000005

struct DEV_BROADCAST_DEVICEINTERFACE_A {
  DWORD dbcc_size;
  DWORD dbcc_devicetype;
  DWORD dbcc_reserved;
  GUID dbcc_classguid;
  char dbcc_name[1];
};
