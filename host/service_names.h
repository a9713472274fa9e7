#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace qvs_host {

namespace ble = quorvel_service::windows_ble;

struct NamedId {
  std::uint64_t id;
  std::string_view name;
};

inline constexpr std::array kMethodNames = {
    NamedId{ble::method::kInit, "Init"},
    NamedId{ble::method::kUnInit, "UnInit"},
    NamedId{ble::method::kCheckBleState, "CheckBleState"},
    NamedId{ble::method::kStartWatchBroadcast, "StartWatchBroadcast"},
    NamedId{ble::method::kStartBroadcast, "StartBroadcast"},
    NamedId{ble::method::kGetBleScanCache, "GetBleScanCache"},
};

/// An event's name is the key of its payload's one member.
inline constexpr std::array kEventNames = {
    NamedId{ble::event::kState, "state"},
    NamedId{ble::event::kStatusInfo, "status_info"},
    NamedId{ble::event::kRetryInfo, "retry_info"},
    NamedId{ble::event::kDeviceJson, "device_json"},
};

/// The name of an id; "unknown" for one that the table does not have.
[[nodiscard]] constexpr std::string_view NameOf(const auto& table, std::uint64_t id) {
  for (const NamedId& row : table) {
    if (row.id == id) return row.name;
  }
  return "unknown";
}

}  // namespace qvs_host
