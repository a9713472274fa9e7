#pragma once

#include "windef.h"

using HBLUETOOTH_RADIO_FIND = HANDLE;

struct BLUETOOTH_FIND_RADIO_PARAMS {
  DWORD dwSize;
};
static_assert(sizeof(BLUETOOTH_FIND_RADIO_PARAMS) == 4);

extern "C" {

SIMULATED_PC_EXPORT HBLUETOOTH_RADIO_FIND WINAPI
BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS* parameters, HANDLE* radio);
SIMULATED_PC_EXPORT BOOL WINAPI BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND search);

}  // extern "C"
