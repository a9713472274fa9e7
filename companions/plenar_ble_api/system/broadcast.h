#pragma once

#include <cstdint>
#include <unordered_map>

#include <plenar_ble_api/ble_api.h>

#include "system/com.h"

namespace plenar_ble {

/// One received packet of a device.
struct Packet {
  std::uint64_t address = 0;
  bool is_scan_response = false;
  BleBroadcastInfo info;
};

/// What an event of the system's watcher says. Throws `SystemError`.
[[nodiscard]] Packet ReadPacket(winrt::IReceivedEventArgs& event);

/// Puts each device's advertisement and scan response together, which the system reports apart:
/// only both say what the device is and what it is called.
class PacketMerger {
 public:
  /// All that is known of the device; until the next call.
  const BleBroadcastInfo& Merge(Packet packet);

 private:
  struct Device {
    BleBroadcastInfo advertisement;
    BleBroadcastInfo scan_response;
  };

  std::unordered_map<std::uint64_t, Device> devices_;
  BleBroadcastInfo merged_;
};

}  // namespace plenar_ble
