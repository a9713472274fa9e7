#pragma once

#include <windows.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#include <plenar_ble_api/ble_api.h>

namespace quorvel_service {

struct BleApiBinding;

/// The BLE API library as the module has it: its module handle and its functions. The handle is the
/// gate that every call passes: it is cleared when the library is unloaded, while the function
/// pointers stay as they are. [main looper]
struct BleApiTable {
  /// What a call gives while no library is loaded: it counts as refused.
  static constexpr std::int32_t kRefused = -1;

  HMODULE module = nullptr;

  /// How often the library is loaded. It can still be when the gate is closed: several loads are
  /// ended by one unload.
  int load_count = 0;

  decltype(&::BleInit) BleInit = nullptr;
  decltype(&::BleUnInit) BleUnInit = nullptr;
  decltype(&::BleSetLogFunc) BleSetLogFunc = nullptr;
  decltype(&::BleCheckState) BleCheckState = nullptr;
  decltype(&::BleClientSetScanMode) BleClientSetScanMode = nullptr;
  decltype(&::BleClientSetServiceUuidFilter) BleClientSetServiceUuidFilter = nullptr;
  decltype(&::BleClientSetManufacturerDataFilter) BleClientSetManufacturerDataFilter = nullptr;
  decltype(&::BleClientSetSignalStrengthFilter) BleClientSetSignalStrengthFilter = nullptr;
  decltype(&::BleClientSetReceivedBroadcastCB) BleClientSetReceivedBroadcastCB = nullptr;
  decltype(&::BleClientSetStoppedWatchBroadcastCB) BleClientSetStoppedWatchBroadcastCB = nullptr;
  decltype(&::BleClientStartWatchBroadcast) BleClientStartWatchBroadcast = nullptr;
  decltype(&::BleClientStopWatchBroadcast) BleClientStopWatchBroadcast = nullptr;
  decltype(&::BleServerAddManufacturerData) BleServerAddManufacturerData = nullptr;
  decltype(&::BleServerAddDataSection) BleServerAddDataSection = nullptr;
  decltype(&::BleServerSetStatusChangedCB) BleServerSetStatusChangedCB = nullptr;
  decltype(&::BleServerStartBroadcast) BleServerStartBroadcast = nullptr;
  decltype(&::BleServerStopBroadcast) BleServerStopBroadcast = nullptr;

  /// Takes over a library that has just been loaded and resolves its functions, in order. Gives
  /// null when all are there, else the first that is missing; those behind it are not tried. The
  /// calling thread's last error is then the one of the failed look-up.
  [[nodiscard]] const BleApiBinding* Bind(HMODULE loaded) noexcept;

  /// Unloads the library once, if the gate is open, and closes the gate.
  void Unload() noexcept;

  /// Takes the module's callables back from a library that is still loaded, the gate open or not.
  void WithdrawCallables() const noexcept;

  /// Calls a function of the library: `Call<&BleApiTable::BleInit>(std::uintptr_t{0})`. What the
  /// library throws passes through.
  template <auto Function, class... Args>
  auto Call(Args&&... args) const {
    using Result = std::invoke_result_t<decltype(this->*Function), Args...>;
    if constexpr (std::is_void_v<Result>) {
      if (module != nullptr) (this->*Function)(std::forward<Args>(args)...);
    } else {
      if (module == nullptr) return static_cast<Result>(kRefused);
      return (this->*Function)(std::forward<Args>(args)...);
    }
  }
};

/// How one function is resolved, and what is logged when it is missing.
struct BleApiBinding {
  const char* name;
  const char* failure_line;  ///< Null: no line of its own.
  bool logs_error_code;      ///< The last error follows the line.
  void (*store)(BleApiTable& table, FARPROC function);
};

/// The process's one table.
[[nodiscard]] BleApiTable& BleApi() noexcept;

}  // namespace quorvel_service
