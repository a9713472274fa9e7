#pragma once

#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "stand_in_call.h"

namespace simulated_pc {

/// A thread's number, which no later thread gets again.
using ThreadId = std::uint64_t;
[[nodiscard]] ThreadId CurrentThread() noexcept;

/// What a test or the host sets up.
struct Machine {
  Machine();

  std::uint32_t major = 10;
  std::uint32_t minor = 0;
  std::uint32_t build = 19045;
  bool radio_on = true;
  std::vector<Device> devices;
  std::string executable_path;  ///< Empty: the real one.
};

// What a handle stands for.
struct Radio {};
struct RadioSearch {};
struct DeviceSet {
  std::vector<std::string> instance_ids;
};
struct RegistryKey {
  std::string path;  ///< Below the local-machine root.
  REGSAM access;
};
using Object = std::variant<Radio, RadioSearch, DeviceSet, RegistryKey>;

struct WindowClass {
  std::string name;
  ATOM atom;
  HINSTANCE instance;
  WNDPROC procedure;
};

struct Window {
  ATOM class_atom;
  WNDPROC procedure;
  ThreadId thread;
  bool top_level;
  bool being_destroyed;
};

/// A message to another thread's window, on the stack of the sender, which waits for `done`.
struct SentMessage {
  HWND window;
  UINT message;
  WPARAM wparam;
  LPARAM lparam;
  LRESULT result = 0;
  bool done = false;
};

struct MessageQueue {
  std::deque<MSG> posted;
  std::deque<SentMessage*> sent;
};

struct DeviceNotification {
  HWND recipient;
  GUID interface_class;
};

struct Desktop {
  std::vector<WindowClass> classes;
  std::map<HWND, Window> windows;
  std::map<ThreadId, MessageQueue> queues;
  std::map<HDEVNOTIFY, DeviceNotification> notifications;
};

struct Library {
  std::string file_name;
  int load_count = 0;
};

struct PcState {
  /// Handles are never used twice, so that a dead one is noticed.
  template <typename Handle>
  [[nodiscard]] Handle NewHandle() {
    return reinterpret_cast<Handle>(last_handle += 4);
  }

  HANDLE Open(Object object);

  /// The object of kind `Kind` behind a handle; throws `Win32Error` if there is none.
  template <typename Kind>
  [[nodiscard]] Kind& Get(HANDLE handle) {
    const auto found = objects.find(handle);
    Kind* const object = found == objects.end() ? nullptr : std::get_if<Kind>(&found->second);
    if (object == nullptr) throw Win32Error{ERROR_INVALID_HANDLE};
    return *object;
  }

  template <typename Kind>
  void Close(HANDLE handle) {
    static_cast<void>(Get<Kind>(handle));
    objects.erase(handle);
  }

  Machine machine;
  Desktop desktop;
  std::map<HANDLE, Object> objects;
  std::map<HMODULE, Library> libraries;  ///< The loaded ones, by the system loader's handle.
  std::uintptr_t last_handle = 0x10000;
};

/// The state of the one simulated PC, locked. Window procedures and observers are called without
/// the lock.
class LockedPc {
 public:
  LockedPc();

  PcState* operator->() const { return state_; }
  PcState& operator*() const { return *state_; }

  void Unlock() { lock_.unlock(); }
  void Lock() { lock_.lock(); }
  /// Waits until a sent message is new or done.
  void WaitForSentMessage();
  void NotifySentMessage();

 private:
  PcState* state_;
  std::unique_lock<std::mutex> lock_;
};

[[nodiscard]] bool EqualIgnoringCase(std::string_view a, std::string_view b);
[[nodiscard]] bool operator==(const GUID& a, const GUID& b);

/// {0850302A-B344-4FDA-9BE9-90576B8D46F0}
inline constexpr GUID kBluetoothRadioInterface = {
    0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};

}  // namespace simulated_pc
