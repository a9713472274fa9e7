#include "tests/windows/radio_finder.h"

#include <windows.h>
// Needs what <windows.h> declares.
#include <bluetoothapis.h>

#include <atomic>
#include <string>

namespace {

std::atomic<bool> radio_on = true;
std::atomic<int> open_searches = 0;

/// The radio that handles are given out to: an object that exists as long as one of them is open.
std::wstring RadioName() {
  return L"qvs test radio " + std::to_wstring(GetCurrentProcessId());
}

bool IsRadioHeld() {
  const HANDLE radio = OpenEventW(SYNCHRONIZE, FALSE, RadioName().c_str());
  if (radio != nullptr) CloseHandle(radio);
  return radio != nullptr;
}

}  // namespace

extern "C" {

HBLUETOOTH_RADIO_FIND WINAPI BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS* parameters,
                                                     HANDLE* found) {
  if (parameters == nullptr || parameters->dwSize != sizeof(*parameters)) {
    SetLastError(ERROR_REVISION_MISMATCH);
    return nullptr;
  }
  if (!radio_on) {
    SetLastError(ERROR_NO_MORE_ITEMS);
    return nullptr;
  }
  *found = CreateEventW(nullptr, /*bManualReset=*/TRUE, FALSE, RadioName().c_str());
  ++open_searches;
  return &open_searches;
}

BOOL WINAPI BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND) {
  --open_searches;
  return TRUE;
}

void SetRadioOn(bool on) {
  radio_on = on;
}

bool IsAnythingOpen() {
  return open_searches != 0 || IsRadioHeld();
}

}  // extern "C"
