#pragma once

#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace simulated_pc {

/// Ends the stand-in call that throws it with this error.
struct Win32Error {
  DWORD code;
};

// What a handle stands for.
struct Radio {};
struct RadioSearch {};
struct DeviceSet {
  std::vector<std::string> instance_ids;
};
struct RegistryKey {
  std::optional<RegistryValue> write_scan_enable;
};
using Object = std::variant<Radio, RadioSearch, DeviceSet, RegistryKey>;

struct Window {
  std::string class_name;
  WNDPROC procedure;
};

struct DeviceNotification {
  HWND recipient;
  GUID interface_class;
};

/// The desktop: what windows and messages need.
struct Desktop {
  std::map<std::string, WNDPROC> classes;
  std::map<HWND, Window> windows;
  std::deque<MSG> posted;
  std::map<HDEVNOTIFY, DeviceNotification> notifications;

  /// Throws `Win32Error` if there is no such window.
  [[nodiscard]] const Window& Find(HWND window) const;
};

struct Library {
  std::string file_name;
  int load_count = 0;
};

struct Failure {
  DWORD error;
  int skip;
};

struct PcState {
  PcState();

  /// Handles are never used twice, so that a dead one is noticed.
  template <class Handle>
  [[nodiscard]] Handle NewHandle() {
    return reinterpret_cast<Handle>(last_handle += 4);
  }

  template <class Kind>
  HANDLE Open(Kind object) {
    const auto handle = NewHandle<HANDLE>();
    objects.emplace(handle, std::move(object));
    return handle;
  }

  /// The object of kind `Kind` behind a handle; throws `Win32Error` if there is none.
  template <class Kind>
  [[nodiscard]] Kind& Get(HANDLE handle) {
    const auto found = objects.find(handle);
    Kind* const object = found == objects.end() ? nullptr : std::get_if<Kind>(&found->second);
    if (object == nullptr) throw Win32Error{ERROR_INVALID_HANDLE};
    return *object;
  }

  template <class Kind>
  void Close(HANDLE handle) {
    static_cast<void>(Get<Kind>(handle));
    objects.erase(handle);
  }

  std::uint32_t major = 10;
  std::uint32_t minor = 0;
  std::uint32_t build = 19045;
  bool radio_on = true;
  std::vector<Device> devices;  ///< Set-up calls and registry answer from this one list.
  std::string executable_path;  ///< Empty: the real one.
  Desktop desktop;
  std::map<HANDLE, Object> objects;
  std::map<HMODULE, Library> libraries;  ///< What these calls have loaded.
  std::uintptr_t last_handle = 0x10000;

  std::shared_ptr<const SimulatedPc::CallObserver> observer;
  std::map<std::string, Failure, std::less<>> failures;
};

/// The state of the one simulated PC, locked. Window procedures and observers are called without
/// the lock.
class LockedPc {
 public:
  LockedPc();

  PcState* operator->() const { return &state_; }
  PcState& operator*() const { return state_; }

 private:
  PcState& state_;
  std::lock_guard<std::mutex> lock_;
};

[[nodiscard]] bool IsBluetoothRadio(const GUID& interface_class);

}  // namespace simulated_pc
