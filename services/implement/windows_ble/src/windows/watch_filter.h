#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <plenar_ble_api/ble_api.h>

namespace quorvel_service {

/// The company identifier of the product's manufacturer data.
inline constexpr std::uint16_t kCompanyId = 0x7E51;

/// Picks out the broadcasts that carry the watched UUID, on the library's threads, while the main
/// looper thread may watch another one. Matching takes no lock and allocates nothing; it works on
/// an immutable snapshot, so no broadcast is ever compared with a half-assigned text.
class WatchFilter {
 public:
  WatchFilter() = default;
  WatchFilter(const WatchFilter&) = delete;
  WatchFilter& operator=(const WatchFilter&) = delete;

  /// Watches `uuid` from now on; an empty text matches nothing. [main looper]
  void Watch(const std::string& uuid);

  /// Whether a service UUID equals the watched text exactly, or manufacturer data of `kCompanyId`
  /// begins with its 16 bytes. [any thread]
  [[nodiscard]] bool Matches(const BleBroadcastInfo& info) const noexcept;

 private:
  struct Snapshot {
    std::string text;
    std::vector<std::uint8_t> bytes;
  };

  static bool Matches(const Snapshot& watched, const BleBroadcastInfo& info) noexcept;

  std::atomic<const Snapshot*> current_{nullptr};
  mutable std::atomic<std::uint32_t> readers_{0};
  // Every snapshot that a reader may still look at; the last one is the current one.
  std::vector<std::unique_ptr<const Snapshot>> kept_;
};

}  // namespace quorvel_service
