#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <plenar_ble_api/ble_api.h>

/// The control interface of the virtual radio: sets every result, delay and failure of the library,
/// puts devices on its air, and tells what it was asked to do.
///
/// The library's state lives as long as the library is loaded. A test that sets it before the
/// module loads the library, loads the library first itself and keeps it loaded.
namespace plenar_ble_control {

/// What the library's functions work on.
enum class RadioKind {
  kVirtual,  ///< Heard on this machine only.
  kSystem,   ///< The system's own Bluetooth, where the library has a radio for it.
};

/// What a function throws that was told to.
struct ScriptedFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What the virtual radio sends to and hears from.
enum class Air {
  kLoopback,   ///< The processes of this machine, over UDP broadcast on the loopback range.
  kInProcess,  ///< Only the devices that were put on the air through this interface.
};

/// How long after its cause a report is made, in milliseconds.
struct ReportDelays {
  std::uint64_t starting = 0;         ///< Status 1, after a start.
  std::uint64_t started = 0;          ///< Status 2, after status 1.
  std::uint64_t stopping = 0;         ///< Status 3, after a stop.
  std::uint64_t stopped = 0;          ///< Status 4, after status 3.
  std::uint64_t watcher_stopped = 0;  ///< The watcher's stopped report, after its stop.
};

/// What the radio is advertising.
struct Advertisement {
  std::uint16_t company;
  std::vector<std::uint8_t> data;
};

/// All operations are for any thread unless they say otherwise.
class VirtualRadio {
 public:
  /// Called on the calling thread at the start of every function that the module calls, with the
  /// function's name and its arguments in words ("mode=1"), empty when it has none.
  using CallObserver = std::function<void(std::string_view function, const std::string& arguments)>;

  /// Makes the functions work on another radio, and takes down the one they worked on. False, and
  /// nothing changes, when the library has none of this kind. After loading it is the system's
  /// where there is one. What follows is about the virtual radio only.
  virtual bool SelectRadio(RadioKind kind) = 0;
  [[nodiscard]] virtual RadioKind SelectedRadio() const = 0;

  /// Back to the state after loading: automatic reports without delay, everything succeeds,
  /// loopback air, real time. Callables and settings are dropped, the radio is silent.
  virtual void Reset() = 0;

  /// Not from inside an observer.
  virtual void SetCallObserver(CallObserver observer) = 0;

  /// What a function with a result returns from now on (0 initially). Unknown names throw
  /// `std::invalid_argument`. A function whose result is not 0 has no other effect.
  virtual void SetResult(std::string_view function, std::int32_t result) = 0;

  /// The next call of a function throws `ScriptedFailure` out of it.
  virtual void ThrowFrom(std::string_view function) = 0;

  /// When starts and stops are reported (at once, initially). None: not by themselves.
  virtual void SetReportDelays(std::optional<ReportDelays> delays) = 0;

  /// Reports made now, whatever the radio's state, on a thread of the library.
  virtual void ReportPublisherStatus(BlePublisherStatus status, BleError error) = 0;
  virtual void ReportWatcherStopped(BleError error) = 0;
  virtual void ReportBroadcast(const BleBroadcastInfo& info) = 0;
  virtual void ReportLog(const char* file, int line, const char* function, int level,
                         const char* message) = 0;

  virtual void SetAir(Air air) = 0;

  /// Puts a device on the in-process air that broadcasts every `interval_ms` while the watcher
  /// runs, for the first time at once; one of the same address is replaced.
  virtual void PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) = 0;

  /// What is being advertised now; none while the publisher does not run.
  [[nodiscard]] virtual std::optional<Advertisement> Advertising() const = 0;

  /// Replaces the machine's clock by one that only `AdvanceTo` moves, starting at `now_ms`. To be
  /// called before `BleInit`.
  virtual void UseManualTime(std::uint64_t now_ms) = 0;
  /// When the next report or broadcast is due.
  [[nodiscard]] virtual std::optional<std::uint64_t> NextDeadline() const = 0;
  /// Makes everything due at or before `now_ms` on the library's threads and returns when these
  /// are quiet; how much it was. Not from inside a callable of the library.
  virtual std::size_t AdvanceTo(std::uint64_t now_ms) = 0;

 protected:
  ~VirtualRadio() = default;
};

/// The type of the library's 18th export, `PlenarBleControl`; the object lives as long as the
/// library is loaded.
using PlenarBleControlFunction = VirtualRadio*();
inline constexpr char kControlExport[] = "PlenarBleControl";

}  // namespace plenar_ble_control
