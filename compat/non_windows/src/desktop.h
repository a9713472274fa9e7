#pragma once

#include "pc_state.h"

namespace simulated_pc {

// What windows, messages and notifications share. "Locked" operations take the state.

/// Throws `Win32Error` if there is no such window.
[[nodiscard]] Window& FindWindow(PcState& pc, HWND window);

/// Queues a message for a window's thread, or for the calling one if `window` is null.
void PostLocked(PcState& pc, HWND window, UINT message, WPARAM wparam, LPARAM lparam);

/// Removes a window, the messages that wait for it included.
void RemoveWindow(LockedPc& pc, HWND window);

/// Has the calling thread's windows and messages removed when it ends; window procedures are not
/// told.
void DropCurrentThreadAtExit();

/// Lets the senders of messages that nobody will handle any more go on, with result 0.
template <typename Predicate>
void CompleteSentMessages(LockedPc& pc, Predicate predicate) {
  for (auto& [thread, queue] : pc->desktop.queues) {
    std::erase_if(queue.sent, [&](SentMessage* message) {
      if (!predicate(*message)) return false;
      message->done = true;
      return true;
    });
  }
  pc.NotifySentMessage();
}

}  // namespace simulated_pc
