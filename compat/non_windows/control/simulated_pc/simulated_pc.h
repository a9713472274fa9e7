#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <simulated_pc/simulated_pc_export.h>

/// The control interface of the machine that the stand-in Windows calls work on. One per process;
/// all operations are for any thread.
namespace simulated_pc {

struct RegistryValue {
  std::uint32_t type;  ///< 1 text, 3 binary, 4 32-bit number.
  std::vector<std::uint8_t> data;
};

/// A present device of the Bluetooth radio interface class.
struct Device {
  std::string instance_id;  ///< For example "USB\\VID_0A12&PID_0001\\5&1".
  /// The registry key "...\Enum\<instance_id>\Device Parameters" exists.
  bool has_parameters_key = true;
  std::optional<RegistryValue> write_scan_enable = {};
};

/// One of the stand-in calls, as `SetCallObserver` and `FailNext` name it: "CreateWindowExA".
using CallName = std::string_view;

class SIMULATED_PC_EXPORT SimulatedPc {
 public:
  static SimulatedPc& Get() noexcept;

  /// Back to the initial state: Windows 10.0.19045, radio on, one discoverable device, the folder
  /// of the real executable, no failures, no observer. Windows, classes, notifications and handles
  /// are dropped; loaded libraries stay.
  void Reset();

  /// Called on the calling thread at the start of every stand-in call, with its arguments in words.
  using CallObserver = std::function<void(CallName call, const std::string& arguments)>;
  void SetCallObserver(CallObserver observer);

  void SetWindowsVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t build);
  void SetRadioOn(bool on);
  void SetDevices(std::vector<Device> devices);
  /// The usual single device with "Write Scan Enable" 1 (discoverable) or 3.
  void SetDiscoverable(bool discoverable);

  /// The UTF-8 path that the executable claims to have; empty: its real one. The folder is also
  /// where `LoadLibraryA` looks first.
  void SetExecutablePath(std::string path);

  /// The next call of this stand-in call fails with this last-error value; when `skip` is positive,
  /// that many calls succeed first. In place of what the call was told before. Calls that return
  /// their error return this one; `GetLastError` cannot fail.
  void FailNext(CallName call, std::uint32_t last_error, int skip = 0);

  /// Posts a device-change message to every window that is registered for device notifications,
  /// or, with wParam 7 (device nodes changed), to every top-level window, as the system does. The
  /// window's thread handles it when it next polls its messages.
  void NotifyDeviceChange(std::uintptr_t wparam);

  // What exists now.
  [[nodiscard]] std::size_t WindowCount() const;
  [[nodiscard]] bool HasWindowClass(const std::string& name) const;
  [[nodiscard]] std::size_t DeviceNotificationCount() const;
  [[nodiscard]] std::size_t OpenHandleCount() const;  ///< Radios, searches, device sets, keys.
  [[nodiscard]] int LibraryLoadCount(const std::string& file_name) const;
};

}  // namespace simulated_pc
