#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <plenar_ble_api/ble_api.h>

namespace plenar_ble {

/// What the library's functions return. The module tells 0 from the rest only.
enum Result : int {
  kAccepted = 0,
  kNotInitialised = 1,
  kInvalidArgument = 2,
  kBusy = 3,    ///< The library is being brought up or taken down elsewhere.
  kNoData = 4,  ///< There is no manufacturer data to advertise.
  kRefusedBySystem = 5,
  kFailure = 6,  ///< Out of memory or threads.
};

/// What one item of manufacturer data holds after its company identifier.
inline constexpr std::size_t kMaxManufacturerDataLength = 252;

/// `CheckState` before `Init`.
inline constexpr BleError kCheckedBeforeInit{1};

/// The levels of the lines that a radio hands to the log callable.
enum class LogLevel : int { kError = 3, kInformation = 6 };

/// What the exported functions work on, an operation for each. [any thread, callables included]
///
/// 1. Callables run on threads of the library (`StartLibraryThread`), with no lock held.
/// 2. A setter that returns on another thread leaves no former callable running (`CallableSlot`).
///    An empty callable withdraws the former one.
/// 3. A start of the publisher while it runs takes the new data, and reports its statuses.
/// 4. Who stops the publisher or the watcher always learns of it, also when nothing ran.
/// 5. `UnInit` reports a running publisher stopped before it lets go of the callables. When it
///    returns, no callable but the log callable is running, and none but that is kept. Called on a
///    thread of the library it does not wait for that thread.
/// 6. While a thread of the radio lives it keeps the library loaded (`ReferToLibrary`).
///
/// A radio is never destroyed: other libraries' destructors may still call the functions when this
/// library's have run. What an operation throws counts as `kFailure`.
class Radio {
 public:
  /// `reserved` is 0.
  virtual int Init(std::uintptr_t reserved) = 0;
  virtual void UnInit() = 0;
  virtual BleError CheckState() = 0;
  virtual void SetLog(BleLogFunc log) = 0;

  /// 0, 1 or 2, for the next start.
  virtual void SetScanMode(int mode) = 0;
  virtual void SetReceived(BleReceivedBroadcastCB callback) = 0;
  virtual void SetStopped(BleStoppedWatchBroadcastCB callback) = 0;
  virtual int StartWatch() = 0;
  virtual void StopWatch() = 0;

  /// For the next start; the former data goes. Of `kMaxManufacturerDataLength` at most.
  virtual int SetManufacturerData(std::uint16_t company, std::span<const std::uint8_t> data) = 0;
  virtual void SetStatusChanged(BleStatusChangedCB callback) = 0;
  virtual int StartBroadcast() = 0;
  virtual void StopBroadcast() = 0;

  /// Back to the state after loading, for the moment when the library is being unloaded or its user
  /// wants to begin anew: as `UnInit` without a report, and the log callable goes too.
  virtual void Clear() = 0;

 protected:
  ~Radio() = default;
};

/// The radio that the exported functions work on.
[[nodiscard]] Radio& ActiveRadio();

/// The radio over the system's own Bluetooth; null where there is none.
[[nodiscard]] Radio* SystemRadio();

}  // namespace plenar_ble
