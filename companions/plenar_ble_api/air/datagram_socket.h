#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace plenar_ble {

/// The loopback air: every datagram sent to this address and port reaches every socket of this
/// machine that is bound to the port. The range never leaves the machine.
inline constexpr char kAirAddress[] = "127.255.255.255";
inline constexpr std::uint16_t kAirPort = 32337;

/// Which process of the machine this is.
[[nodiscard]] std::uint32_t OwnProcess();

/// Sends to the loopback air. One thread at a time.
class DatagramSender {
 public:
  /// Null when the system refuses.
  [[nodiscard]] static std::unique_ptr<DatagramSender> Open();
  virtual ~DatagramSender() = default;

  /// Never waits. False when the system refuses.
  virtual bool Send(std::span<const std::uint8_t> datagram) = 0;
};

/// Receives from the loopback air.
class DatagramReceiver {
 public:
  /// Null when the system refuses.
  [[nodiscard]] static std::unique_ptr<DatagramReceiver> Open();
  virtual ~DatagramReceiver() = default;

  /// Waits for a datagram and returns its length, at most that of `buffer`; none after
  /// `Interrupt`, or when the socket has failed.
  virtual std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) = 0;

  /// Ends the `Receive` that runs and every later one. [any thread]
  virtual void Interrupt() = 0;
};

}  // namespace plenar_ble
