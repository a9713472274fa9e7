#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quorvel_service {

/// The latest broadcast of one device.
struct ScanCacheItem {
  std::string device_id;  ///< The device's address; the cache's key.
  std::string name;       ///< Always empty.
  bool is_connected = false;
  std::int32_t rssi = 0;                    ///< dBm
  std::vector<std::string> advertise_data;  ///< Manufacturer data, by ascending company identifier.
  bool connectable = false;
  std::string local_name;
  std::vector<std::string> uuids;
  std::uint64_t timestamp = 0;  ///< Seconds of wall-clock time at which it was cached.
};

/// The devices heard, in the byte order of their addresses. The number of devices is not limited,
/// so an index by age keeps the cost of a sweep to what it removes. [main looper]
class ScanCache {
  using Ages = std::multimap<std::uint64_t, const std::string*>;  // time stamp to address

  struct Device {
    ScanCacheItem item;
    Ages::iterator age;
  };

 public:
  /// Stores an item under its device, replacing one that is there.
  void Store(ScanCacheItem item);

  /// Removes every item whose time stamp is not within the 20 seconds up to `now`: older ones and,
  /// since the clock can be set back, those ahead of it.
  void RemoveExpired(std::uint64_t now);

  void Clear() noexcept;

  [[nodiscard]] bool IsEmpty() const noexcept { return devices_.empty(); }
  [[nodiscard]] std::size_t Size() const noexcept { return devices_.size(); }

  [[nodiscard]] auto begin() const noexcept { return devices_.begin(); }
  [[nodiscard]] auto end() const noexcept { return devices_.end(); }

 private:
  void Remove(Ages::iterator first, Ages::iterator last);

  std::map<std::string, Device> devices_;
  Ages ages_;
};

}  // namespace quorvel_service
