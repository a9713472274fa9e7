// Window classes, windows, their messages, and device notifications.

#include <dbt.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <deque>

#include <simulated_pc/simulated_pc.h>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {

const Window& Desktop::Find(HWND window) const {
  const auto found = windows.find(window);
  if (found == windows.end()) throw Win32Error{ERROR_INVALID_WINDOW_HANDLE};
  return found->second;
}

void SimulatedPc::NotifyDeviceChange(std::uintptr_t wparam) {
  const LockedPc pc;
  Desktop& desktop = pc->desktop;
  const auto post = [&](HWND window) {
    desktop.posted.push_back({window, WM_DEVICECHANGE, wparam, 0});
  };
  if (wparam == DBT_DEVNODES_CHANGED) {
    for (const auto& [window, description] : desktop.windows) post(window);
    return;
  }
  for (const auto& [handle, notification] : desktop.notifications) {
    const auto& [window, interface_class] = notification;
    if (IsBluetoothRadio(interface_class) && desktop.windows.contains(window)) post(window);
  }
}

STAND_IN ATOM RegisterClassExA(const WNDCLASSEXA* description) {
  const StandInCall call("RegisterClassExA", description->lpszClassName);
  return call.Run(ATOM(), [&]() -> ATOM {
    if (description->cbSize != sizeof *description || description->lpfnWndProc == nullptr) {
      throw Win32Error{ERROR_INVALID_PARAMETER};
    }
    const LockedPc pc;
    const auto added =
        pc->desktop.classes.emplace(description->lpszClassName, description->lpfnWndProc);
    if (!added.second) throw Win32Error{ERROR_CLASS_ALREADY_EXISTS};
    return 1;
  });
}

STAND_IN BOOL UnregisterClassA(const char* class_name, HINSTANCE instance) {
  return StandInCall("UnregisterClassA", class_name, instance).Succeeds([&] {
    const LockedPc pc;
    const bool in_use = std::ranges::any_of(pc->desktop.windows, [&](const auto& entry) {
      return entry.second.class_name == class_name;
    });
    if (in_use) throw Win32Error{ERROR_CLASS_HAS_WINDOWS};
    if (pc->desktop.classes.erase(class_name) == 0) throw Win32Error{ERROR_CLASS_DOES_NOT_EXIST};
  });
}

STAND_IN HWND CreateWindowExA(DWORD extended_style, const char* class_name, const char* title,
                              DWORD style, int x, int y, int width, int height, HWND parent,
                              HMENU menu, HINSTANCE instance, void* parameter) {
  const StandInCall call("CreateWindowExA", extended_style, class_name, title, style, x, y, width,
                         height, parent, menu, instance, parameter);
  return call.Run(HWND(), [&] {
    Window window = {class_name, nullptr};
    HWND handle = nullptr;
    {
      const LockedPc pc;
      const auto found = pc->desktop.classes.find(window.class_name);
      if (found == pc->desktop.classes.end()) throw Win32Error{ERROR_CANNOT_FIND_WND_CLASS};
      window.procedure = found->second;
      handle = pc->NewHandle<HWND>();
      pc->desktop.windows.emplace(handle, window);
    }
    // The one message of a creation that the procedure decides something with.
    if (window.procedure(handle, WM_NCCREATE, 0, 0) != FALSE) return handle;
    LockedPc()->desktop.windows.erase(handle);
    return HWND();
  });
}

STAND_IN BOOL DestroyWindow(HWND window) {
  return StandInCall("DestroyWindow", window).Succeeds([&] {
    const LockedPc pc;
    static_cast<void>(pc->desktop.Find(window));
    pc->desktop.windows.erase(window);
    std::erase_if(pc->desktop.posted, [&](const MSG& message) { return message.hwnd == window; });
  });
}

STAND_IN LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const StandInCall call("DefWindowProcA", window, message, wparam, lparam);
  return call.Run(LRESULT(), [&]() -> LRESULT { return message == WM_NCCREATE; });
}

STAND_IN BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
  return StandInCall("PeekMessageA", window, first, last, remove).Run(FALSE, [&] {
    const LockedPc pc;
    auto& posted = pc->desktop.posted;
    if (posted.empty()) return FALSE;
    *message = posted.front();
    posted.pop_front();
    return TRUE;
  });
}

STAND_IN LRESULT DispatchMessageA(const MSG* message) {
  return StandInCall("DispatchMessageA", message->hwnd, message->message).Run(LRESULT(), [&] {
    const WNDPROC procedure = LockedPc()->desktop.Find(message->hwnd).procedure;
    return procedure(message->hwnd, message->message, message->wParam, message->lParam);
  });
}

STAND_IN HDEVNOTIFY RegisterDeviceNotificationA(HANDLE recipient, void* filter, DWORD flags) {
  const StandInCall call("RegisterDeviceNotificationA", recipient, filter, flags);
  return call.Run(HDEVNOTIFY(), [&] {
    const auto& wanted = *static_cast<const DEV_BROADCAST_DEVICEINTERFACE_A*>(filter);
    if (wanted.dbcc_size != sizeof wanted || wanted.dbcc_devicetype != DBT_DEVTYP_DEVICEINTERFACE) {
      throw Win32Error{ERROR_INVALID_DATA};
    }
    const auto window = static_cast<HWND>(recipient);
    const LockedPc pc;
    if (!pc->desktop.windows.contains(window)) throw Win32Error{ERROR_INVALID_PARAMETER};
    const auto handle = pc->NewHandle<HDEVNOTIFY>();
    pc->desktop.notifications.emplace(handle, DeviceNotification{window, wanted.dbcc_classguid});
    return handle;
  });
}

STAND_IN BOOL UnregisterDeviceNotification(HDEVNOTIFY notification) {
  return StandInCall("UnregisterDeviceNotification", notification).Succeeds([&] {
    if (LockedPc()->desktop.notifications.erase(notification) == 0) {
      throw Win32Error{ERROR_INVALID_HANDLE};
    }
  });
}

}  // namespace simulated_pc
