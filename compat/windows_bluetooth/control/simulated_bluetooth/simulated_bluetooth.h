#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

/// A double of Windows' Bluetooth classes for machines without Bluetooth: a library that the
/// system's own activation finds through the registry. Every process has the adapter that is set
/// here, and hears what the others publish and what is on the air.
namespace simulated_bluetooth {

/// What a device sends. `data` holds structures of a length byte, a type byte and the data.
struct Packet {
  DWORD process = 0;  ///< That publishes it; 0 for a device that was put on the air.
  std::uint64_t address = 0;
  std::int16_t rssi = 0;  ///< dBm; 0 where there is no packet.
  std::int32_t type = 0;  ///< As `BluetoothLEAdvertisementType`.
  std::uint32_t length = 0;
  std::array<std::uint8_t, 255> data{};
};

/// The state that the processes share.
struct State {
  bool adapter = true;
  bool low_energy = true;
  bool peripheral_role = true;
  bool extended_advertising = true;
  bool access = true;
  bool radio_on = true;
  bool adds_flags = false;       ///< Which leaves 28 of a legacy advertisement's 31 bytes.
  DWORD answer_after_ms = 0;     ///< How long the adapter's question takes.
  std::int32_t abort_error = 0;  ///< A `BluetoothError` that ends every publisher that starts.
  HRESULT stop_result = S_OK;    ///< Of every stop.
  DWORD late_ms = 0;             ///< How long after its removal a handler is called once more.
  int receivers = 1;             ///< Threads on which a watcher reports.
  std::array<Packet, 32> air{};
};

/// Puts the classes into the registry, of the library that stands beside the calling program, as
/// `regsvr32` does, or takes them out of it.
void Install();
void Uninstall();

/// The state, for as long as this lives: nobody else reads or changes it meanwhile.
class Locked {
 public:
  Locked();
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  ~Locked();

  State* operator->() const { return state_; }
  State& operator*() const { return *state_; }

 private:
  State* state_;
};

}  // namespace simulated_bluetooth
