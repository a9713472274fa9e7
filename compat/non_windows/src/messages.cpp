#include <algorithm>

#include "desktop.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

/// For `PeekMessageA`: messages to no window only.
const auto kThreadMessagesOnly = reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1));

MessageQueue* FindQueue(PcState& pc) {
  const auto found = pc.desktop.queues.find(CurrentThread());
  return found == pc.desktop.queues.end() ? nullptr : &found->second;
}

/// Handles one message that another thread has sent to a window of this one; false if there is
/// none. Unlocked while the procedure runs.
bool HandleSentMessage(LockedPc& pc) {
  MessageQueue* const queue = FindQueue(*pc);
  if (queue == nullptr || queue->sent.empty()) return false;
  SentMessage& message = *queue->sent.front();
  queue->sent.pop_front();
  const WNDPROC procedure = FindWindow(*pc, message.window).procedure;
  pc.Unlock();
  const LRESULT result = procedure(message.window, message.message, message.wparam, message.lparam);
  pc.Lock();
  message.result = result;
  message.done = true;
  pc.NotifySentMessage();
  return true;
}

LRESULT SendToOtherThread(LockedPc& pc, ThreadId thread, SentMessage message) {
  pc->desktop.queues[thread].sent.push_back(&message);
  pc.NotifySentMessage();
  while (!message.done) {
    if (!HandleSentMessage(pc)) pc.WaitForSentMessage();
  }
  return message.result;
}

bool IsWanted(const MSG& message, HWND window, UINT first, UINT last) {
  if (window == kThreadMessagesOnly && message.hwnd != nullptr) return false;
  if (window != nullptr && window != kThreadMessagesOnly && message.hwnd != window) return false;
  return (first == 0 && last == 0) || (message.message >= first && message.message <= last);
}

}  // namespace

void PostLocked(PcState& pc, HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const ThreadId thread = window != nullptr ? FindWindow(pc, window).thread : CurrentThread();
  pc.desktop.queues[thread].posted.push_back({.hwnd = window,
                                              .message = message,
                                              .wParam = wparam,
                                              .lParam = lparam,
                                              .time = 0,
                                              .pt = {}});
}

STAND_IN BOOL PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
  return StandInCall("PeekMessageA", window, first, last, remove).Run(FALSE, [&] {
    if (message == nullptr) throw Win32Error{ERROR_INVALID_PARAMETER};
    LockedPc pc;
    if (window != nullptr && window != kThreadMessagesOnly) {
      static_cast<void>(FindWindow(*pc, window));
    }
    while (HandleSentMessage(pc)) {
    }
    MessageQueue* const queue = FindQueue(*pc);
    if (queue == nullptr) return FALSE;
    const auto found = std::ranges::find_if(queue->posted, [&](const MSG& candidate) {
      return IsWanted(candidate, window, first, last);
    });
    if (found == queue->posted.end()) return FALSE;
    *message = *found;
    if ((remove & PM_REMOVE) != 0) queue->posted.erase(found);
    return TRUE;
  });
}

STAND_IN LRESULT DispatchMessageA(const MSG* message) {
  const StandInCall call("DispatchMessageA", message ? message->hwnd : nullptr,
                         message ? message->message : WM_NULL);
  return call.Run(0, [&]() -> LRESULT {
    if (message == nullptr || message->hwnd == nullptr) return 0;
    LockedPc pc;
    const Window window = FindWindow(*pc, message->hwnd);
    if (window.thread != CurrentThread()) throw Win32Error{ERROR_MESSAGE_SYNC_ONLY};
    pc.Unlock();
    return window.procedure(message->hwnd, message->message, message->wParam, message->lParam);
  });
}

STAND_IN BOOL PostMessageA(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  return StandInCall("PostMessageA", window, message, wparam, lparam).Run(FALSE, [&] {
    if (window == nullptr) DropCurrentThreadAtExit();
    PostLocked(*LockedPc(), window, message, wparam, lparam);
    return TRUE;
  });
}

STAND_IN LRESULT SendMessageA(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const StandInCall call("SendMessageA", window, message, wparam, lparam);
  return call.Run(0, [&]() -> LRESULT {
    LockedPc pc;
    const Window found = FindWindow(*pc, window);
    if (found.thread != CurrentThread()) {
      return SendToOtherThread(pc, found.thread, {window, message, wparam, lparam});
    }
    pc.Unlock();
    return found.procedure(window, message, wparam, lparam);
  });
}

}  // namespace simulated_pc
