#include <bluetoothapis.h>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {

STAND_IN HBLUETOOTH_RADIO_FIND BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS* parameters,
                                                       HANDLE* radio) {
  const StandInCall call("BluetoothFindFirstRadio", parameters, radio);
  return call.Run(nullptr, [&]() -> HBLUETOOTH_RADIO_FIND {
    if (parameters == nullptr || radio == nullptr) throw Win32Error{ERROR_INVALID_PARAMETER};
    if (parameters->dwSize != sizeof *parameters) throw Win32Error{ERROR_REVISION_MISMATCH};
    const LockedPc pc;
    if (!pc->machine.radio_on) throw Win32Error{ERROR_NO_MORE_ITEMS};
    *radio = pc->Open(Radio());
    return pc->Open(RadioSearch());
  });
}

STAND_IN BOOL BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND search) {
  return StandInCall("BluetoothFindRadioClose", search).Run(FALSE, [&] {
    LockedPc()->Close<RadioSearch>(search);
    return TRUE;
  });
}

STAND_IN BOOL CloseHandle(HANDLE object) {
  return StandInCall("CloseHandle", object).Run(FALSE, [&] {
    // The same value stands for the current process, and closing that does nothing.
    if (object != INVALID_HANDLE_VALUE) LockedPc()->Close<Radio>(object);
    return TRUE;
  });
}

}  // namespace simulated_pc
