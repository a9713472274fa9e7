#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
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

/// The devices heard. Their number is not limited, so what storing and a sweep cost does not depend
/// on it. [main looper]
class ScanCache {
 public:
  /// Stores an item under its device, replacing one that is there.
  void Store(ScanCacheItem item);

  /// Removes every item whose time stamp is not within the 20 seconds up to `now`: older ones and,
  /// since the clock can be set back, those ahead of it.
  void RemoveExpired(std::uint64_t now);

  void Clear() noexcept;

  [[nodiscard]] bool IsEmpty() const noexcept { return items_.empty(); }
  [[nodiscard]] std::size_t Size() const noexcept { return items_.size(); }

  /// The items in the byte order of their addresses, valid until the cache is changed.
  [[nodiscard]] std::vector<const ScanCacheItem*> InOrder() const;

 private:
  using Items = std::list<ScanCacheItem>;

  void Remove(Items::iterator item);

  Items items_;                                                   // the oldest time stamp first
  std::unordered_map<std::string_view, Items::iterator> places_;  // by the items' own `device_id`
};

}  // namespace quorvel_service
