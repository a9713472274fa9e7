#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <plenar_ble_api/ble_api.h>

namespace plenar_ble {

/// Which broadcasts the watcher passes on; initially all.
struct BroadcastFilter {
  struct ManufacturerData {
    std::uint16_t company;
    std::vector<std::uint8_t> prefix;
  };

  std::optional<std::string> service_uuid;  ///< Letter case does not matter.
  std::optional<ManufacturerData> manufacturer_data;
  std::int16_t minimum_dbm = std::numeric_limits<std::int16_t>::min();

  [[nodiscard]] bool Matches(const BleBroadcastInfo& info) const;
};

}  // namespace plenar_ble
