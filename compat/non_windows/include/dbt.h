#pragma once

#include "windef.h"

#define DBT_DEVNODES_CHANGED 0x0007
#define DBT_DEVICEARRIVAL 0x8000
#define DBT_DEVICEREMOVECOMPLETE 0x8004

#define DBT_DEVTYP_DEVICEINTERFACE 0x00000005

struct DEV_BROADCAST_DEVICEINTERFACE_A {
  DWORD dbcc_size;
  DWORD dbcc_devicetype;
  DWORD dbcc_reserved;
  GUID dbcc_classguid;
  char dbcc_name[1];
};
static_assert(sizeof(DEV_BROADCAST_DEVICEINTERFACE_A) == 32);
