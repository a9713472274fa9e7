#pragma once

#include <windows.h>

using HBLUETOOTH_RADIO_FIND = HANDLE;

struct BLUETOOTH_FIND_RADIO_PARAMS {
  DWORD dwSize;
};

extern "C" {

SIMULATED_PC_EXPORT HBLUETOOTH_RADIO_FIND WINAPI
BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS* parameters, HANDLE* radio);
SIMULATED_PC_EXPORT BOOL WINAPI BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND search);

}  // extern "C"
