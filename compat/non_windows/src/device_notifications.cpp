#include <dbt.h>

#include "desktop.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

/// Throws `Win32Error` if the request is none that the system takes.
const DEV_BROADCAST_DEVICEINTERFACE_A& CheckFilter(const void* filter, DWORD flags) {
  if (filter == nullptr || flags != DEVICE_NOTIFY_WINDOW_HANDLE) {
    throw Win32Error{ERROR_INVALID_PARAMETER};
  }
  const auto& header = *static_cast<const DEV_BROADCAST_DEVICEINTERFACE_A*>(filter);
  if (header.dbcc_size < sizeof header || header.dbcc_devicetype != DBT_DEVTYP_DEVICEINTERFACE) {
    throw Win32Error{ERROR_INVALID_DATA};
  }
  return header;
}

/// What lParam of an arrival or a removal points to; a posted message may outlive everything else.
constinit DEV_BROADCAST_DEVICEINTERFACE_A radio_event = {
    .dbcc_size = sizeof(DEV_BROADCAST_DEVICEINTERFACE_A),
    .dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE,
    .dbcc_reserved = 0,
    .dbcc_classguid = kBluetoothRadioInterface,
    .dbcc_name = {}};

void NotifyTopLevelWindows(PcState& pc, WPARAM wparam) {
  for (const auto& [handle, window] : pc.desktop.windows) {
    if (window.top_level) PostLocked(pc, handle, WM_DEVICECHANGE, wparam, 0);
  }
}

void NotifyRegisteredWindows(PcState& pc, WPARAM wparam) {
  const auto lparam = reinterpret_cast<LPARAM>(&radio_event);
  for (const auto& [handle, notification] : pc.desktop.notifications) {
    const HWND recipient = notification.recipient;
    if (notification.interface_class == kBluetoothRadioInterface &&
        pc.desktop.windows.contains(recipient)) {
      PostLocked(pc, recipient, WM_DEVICECHANGE, wparam, lparam);
    }
  }
}

}  // namespace

void SimulatedPc::NotifyDeviceChange(std::uintptr_t wparam) {
  const auto notify =
      wparam == DBT_DEVNODES_CHANGED ? NotifyTopLevelWindows : NotifyRegisteredWindows;
  notify(*LockedPc(), wparam);
}

std::size_t SimulatedPc::DeviceNotificationCount() const {
  return LockedPc()->desktop.notifications.size();
}

STAND_IN HDEVNOTIFY RegisterDeviceNotificationA(HANDLE recipient, LPVOID filter, DWORD flags) {
  const StandInCall call("RegisterDeviceNotificationA", recipient, filter, flags);
  return call.Run(nullptr, [&]() -> HDEVNOTIFY {
    const GUID interface_class = CheckFilter(filter, flags).dbcc_classguid;
    const auto window = static_cast<HWND>(recipient);
    const LockedPc pc;
    if (!pc->desktop.windows.contains(window)) throw Win32Error{ERROR_INVALID_PARAMETER};
    const auto handle = pc->NewHandle<HDEVNOTIFY>();
    pc->desktop.notifications[handle] = {window, interface_class};
    return handle;
  });
}

STAND_IN BOOL UnregisterDeviceNotification(HDEVNOTIFY notification) {
  return StandInCall("UnregisterDeviceNotification", notification).Run(FALSE, [&] {
    if (LockedPc()->desktop.notifications.erase(notification) == 0) {
      throw Win32Error{ERROR_INVALID_HANDLE};
    }
    return TRUE;
  });
}

}  // namespace simulated_pc
