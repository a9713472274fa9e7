#pragma once

#include <windows.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#include <plenar_ble_api/ble_api.h>

#include "framework/log_writer.h"

/// The functions of the BLE API library in the order in which they are bound: name, the log line
/// for one that is missing (null: no line of its own), whether the last error follows that line.
#define QV_BLE_API_FUNCTIONS(F)                                                                    \
  F(BleInit, "load BleInit failed, error: ", true)                                                 \
  F(BleUnInit, "load bleUnInit failed, error: ", true)                                             \
  F(BleSetLogFunc, "load bleSetLogFunc failed, error: ", true)                                     \
  F(BleCheckState, "load bleCheckState failed, error: ", true)                                     \
  F(BleClientSetScanMode, "load BleClientSetScanMode failed", false)                               \
  F(BleClientSetServiceUuidFilter, "load bleClientSetServiceUuidFilter failed", false)             \
  F(BleClientSetManufacturerDataFilter, "load bleClientSetManufacturerDataFilter failed", false)   \
  F(BleClientSetSignalStrengthFilter, "load bleClientSetSignalStrengthFilter failed", false)       \
  F(BleClientSetReceivedBroadcastCB, "load bleClientSetReceivedBroadcastCB failed", false)         \
  F(BleClientSetStoppedWatchBroadcastCB, "load bleClientSetStoppedWatchBroadcastCB failed", false) \
  F(BleClientStartWatchBroadcast, "load BleClientStartWatchBroadcast failed", false)               \
  F(BleClientStopWatchBroadcast, nullptr, false)                                                   \
  F(BleServerAddManufacturerData, "load BleServerAddManufacturerData failed", false)               \
  F(BleServerAddDataSection, "load bleServerAddDataSection failed", false)                         \
  F(BleServerSetStatusChangedCB, "load BleServerSetStatusChangedCB failed", false)                 \
  F(BleServerStartBroadcast, "load BleServerStartBroadcast failed", false)                         \
  F(BleServerStopBroadcast, "load BleServerStopBroadcast failed", false)

namespace quorvel_service {

struct BleApiBinding;

/// The BLE API library as the module has it: its module handle and its functions. The handle is the
/// gate that every call passes: it is cleared when the library is unloaded, while the function
/// pointers stay as they are. [main looper]
struct BleApiTable {
  /// What a call gives that counts as refused.
  static constexpr std::int32_t kRefused = -1;

  HMODULE module = nullptr;

#define QV_POINTER(name, line, logs_error_code) decltype(&::name) name = nullptr;
  QV_BLE_API_FUNCTIONS(QV_POINTER)
#undef QV_POINTER

  /// Takes over a library that has just been loaded and resolves its functions, in order. Gives
  /// null when all are there, else the first that is missing; those behind it are not tried, and
  /// the functions of an earlier library stay. The calling thread's last error is then the one of
  /// the failed look-up.
  [[nodiscard]] const BleApiBinding* Bind(HMODULE library) noexcept;

  /// Unloads the library once, if the gate is open, and closes the gate. Several loads are ended by
  /// one unload.
  void Unload() noexcept;

  /// Takes the module's callables back from the library if anybody in the process keeps it loaded.
  /// The pointers here may be of another copy of it, and are not used.
  void WithdrawCallables() const noexcept;

  /// Calls a function of the library: `Call<&BleApiTable::BleInit>(std::uintptr_t{0})`. With no
  /// library the call counts as refused. So it does when the library throws, which is logged.
  template <auto Function, class... Args>
  auto Call(Args&&... args) const noexcept {
    using Result = std::invoke_result_t<decltype(this->*Function), Args...>;
    try {
      if (module != nullptr) return (this->*Function)(std::forward<Args>(args)...);
    } catch (...) {
      QV_LOG_FAILURE();
    }
    if constexpr (!std::is_void_v<Result>) return static_cast<Result>(kRefused);
  }
};

/// How one function is resolved, and what is logged when it is missing.
struct BleApiBinding {
  const char* name;
  const char* failure_line;
  bool logs_error_code;
  void (*store)(BleApiTable& table, FARPROC function);
};

/// The process's one table.
[[nodiscard]] BleApiTable& BleApi() noexcept;

}  // namespace quorvel_service
