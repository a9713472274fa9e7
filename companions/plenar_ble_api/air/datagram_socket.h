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

/// A socket on the loopback air, either to send or to receive.
class DatagramSocket {
 public:
  /// Null when the system refuses.
  [[nodiscard]] static std::unique_ptr<DatagramSocket> OpenToSend();
  [[nodiscard]] static std::unique_ptr<DatagramSocket> OpenToReceive();
  virtual ~DatagramSocket() = default;

  /// Never waits. False when the system refuses. One thread at a time.
  virtual bool Send(std::span<const std::uint8_t> datagram) = 0;

  /// Waits for a datagram and returns its length, at most that of `buffer`; none after
  /// `Interrupt`, or when the socket has failed. One thread at a time.
  virtual std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) = 0;

  /// Ends the `Receive` that runs and every later one. [any thread]
  virtual void Interrupt() = 0;
};

}  // namespace plenar_ble
