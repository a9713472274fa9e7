// A double of the system's finder of Bluetooth radios, under the system's file name: a machine
// without a radio can have one found or not. It stands beside the test programs only, where the
// system's loader looks first.

#include <windows.h>
// Needs what <windows.h> declares.
#include <bluetoothapis.h>

#include <atomic>

namespace {

std::atomic<bool> radio_on = true;

}  // namespace

extern "C" {

/// Whether a radio is found from now on; initially so.
void SetRadioOn(bool on) {
  radio_on = on;
}

HBLUETOOTH_RADIO_FIND WINAPI BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS*, HANDLE* radio) {
  if (!radio_on) return nullptr;
  *radio = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  return CreateEventA(nullptr, FALSE, FALSE, nullptr);
}

BOOL WINAPI BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND search) {
  return CloseHandle(search);
}

}  // extern "C"
