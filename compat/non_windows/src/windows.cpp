#include <utility>

#include "desktop.h"
#include "stand_in_call.h"
#include "window_classes.h"

namespace simulated_pc {
namespace {

struct NewWindow {
  HWND handle;
  WNDPROC procedure;
};

NewWindow AddWindow(LPCSTR class_name, DWORD style, HWND parent, HINSTANCE instance) {
  const LockedPc pc;
  const auto window_class = FindClass(*pc, class_name, instance);
  if (window_class == pc->desktop.classes.end()) throw Win32Error{ERROR_CANNOT_FIND_WND_CLASS};
  const bool message_only = parent == HWND_MESSAGE;
  if (parent != nullptr && !message_only) throw Win32Error{ERROR_INVALID_WINDOW_HANDLE};
  if (parent == nullptr && (style & WS_CHILD) != 0) throw Win32Error{ERROR_TLW_WITH_WSCHILD};

  const auto handle = pc->NewHandle<HWND>();
  pc->desktop.windows[handle] = {.class_atom = window_class->atom,
                                 .procedure = window_class->procedure,
                                 .thread = CurrentThread(),
                                 .top_level = !message_only,
                                 .being_destroyed = false};
  return {handle, window_class->procedure};
}

void Destroy(HWND window) {
  WNDPROC procedure = nullptr;
  {
    const LockedPc pc;
    Window& found = FindWindow(*pc, window);
    if (found.thread != CurrentThread()) throw Win32Error{ERROR_ACCESS_DENIED};
    if (std::exchange(found.being_destroyed, true)) throw Win32Error{ERROR_INVALID_WINDOW_HANDLE};
    procedure = found.procedure;
  }
  procedure(window, WM_DESTROY, 0, 0);
  procedure(window, WM_NCDESTROY, 0, 0);
  LockedPc pc;
  RemoveWindow(pc, window);
}

bool Exists(HWND window) {
  return LockedPc()->desktop.windows.contains(window);
}

/// Sends the messages of a creation; false if the window does not survive them.
bool AnnounceCreation(const NewWindow& window, CREATESTRUCTA& description) {
  const auto lparam = reinterpret_cast<LPARAM>(&description);
  if (window.procedure(window.handle, WM_NCCREATE, 0, lparam) == FALSE) {
    window.procedure(window.handle, WM_NCDESTROY, 0, 0);
    LockedPc pc;
    RemoveWindow(pc, window.handle);
    return false;
  }
  const bool refused = window.procedure(window.handle, WM_CREATE, 0, lparam) == -1;
  if (refused && Exists(window.handle)) Destroy(window.handle);
  return Exists(window.handle);
}

void DropThread(ThreadId thread) {
  LockedPc pc;
  std::vector<HWND> windows;
  for (const auto& [handle, window] : pc->desktop.windows) {
    if (window.thread == thread) windows.push_back(handle);
  }
  for (const HWND window : windows) RemoveWindow(pc, window);
  pc->desktop.queues.erase(thread);
}

}  // namespace

void DropCurrentThreadAtExit() {
  struct AtThreadExit {
    ~AtThreadExit() { DropThread(CurrentThread()); }
  };
  thread_local const AtThreadExit at_exit;
  static_cast<void>(at_exit);
}

Window& FindWindow(PcState& pc, HWND window) {
  const auto found = pc.desktop.windows.find(window);
  if (found == pc.desktop.windows.end()) throw Win32Error{ERROR_INVALID_WINDOW_HANDLE};
  return found->second;
}

void RemoveWindow(LockedPc& pc, HWND window) {
  pc->desktop.windows.erase(window);
  for (auto& [thread, queue] : pc->desktop.queues) {
    std::erase_if(queue.posted, [&](const MSG& message) { return message.hwnd == window; });
  }
  CompleteSentMessages(pc, [&](const SentMessage& message) { return message.window == window; });
}

std::size_t SimulatedPc::WindowCount() const {
  return LockedPc()->desktop.windows.size();
}

STAND_IN HWND CreateWindowExA(DWORD extended_style, LPCSTR class_name, LPCSTR title, DWORD style,
                              int x, int y, int width, int height, HWND parent, HMENU menu,
                              HINSTANCE instance, LPVOID parameter) {
  const StandInCall call("CreateWindowExA", extended_style, class_name, title, style, x, y, width,
                         height, parent, menu, instance, parameter);
  return call.Run(nullptr, [&]() -> HWND {
    DropCurrentThreadAtExit();
    CREATESTRUCTA description = {.lpCreateParams = parameter,
                                 .hInstance = instance,
                                 .hMenu = menu,
                                 .hwndParent = parent,
                                 .cy = height,
                                 .cx = width,
                                 .y = y,
                                 .x = x,
                                 .style = static_cast<LONG>(style),
                                 .lpszName = title,
                                 .lpszClass = class_name,
                                 .dwExStyle = extended_style};
    const NewWindow window = AddWindow(class_name, style, parent, instance);
    return AnnounceCreation(window, description) ? window.handle : nullptr;
  });
}

STAND_IN BOOL DestroyWindow(HWND window) {
  return StandInCall("DestroyWindow", window).Run(FALSE, [&] {
    Destroy(window);
    return TRUE;
  });
}

STAND_IN BOOL IsWindow(HWND window) {
  return StandInCall("IsWindow", window).Run(FALSE, [&] {
    const LockedPc pc;
    static_cast<void>(FindWindow(*pc, window));
    return TRUE;
  });
}

STAND_IN LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const StandInCall call("DefWindowProcA", window, message, wparam, lparam);
  return call.Run(0, [&]() -> LRESULT {
    static_cast<void>(FindWindow(*LockedPc(), window));
    if (message == WM_CLOSE) Destroy(window);
    return message == WM_NCCREATE ? TRUE : FALSE;
  });
}

}  // namespace simulated_pc
