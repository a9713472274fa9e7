#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <plenar_ble_api/ble_api.h>

#include "services/implement/windows_ble/src/windows/uuid.h"

namespace quorvel_service {

/// Picks out the broadcasts that carry the watched UUID, on the library's threads, while the main
/// looper thread may watch another one. Matching works on an immutable snapshot, so no broadcast is
/// ever compared with a half-assigned text. It takes no lock and allocates nothing, and for most
/// broadcasts it writes nothing that other threads read.
class WatchFilter {
 public:
  /// Watches `uuid` from now on; an empty text matches nothing. [main looper]
  void Watch(const std::string& uuid);

  /// Whether a service UUID equals the watched text exactly, or manufacturer data of `kCompanyId`
  /// begins with its 16 bytes. [any thread]
  [[nodiscard]] bool Matches(const BleBroadcastInfo& info) const noexcept;

 private:
  struct Snapshot {
    std::string text;
    std::array<std::uint8_t, kUuidByteCount> bytes;
  };
  using Snapshots = std::vector<std::unique_ptr<const Snapshot>>;

  [[nodiscard]] bool MatchesSnapshot(const BleBroadcastInfo& info) const noexcept;
  void FreeWhatNobodyReads() noexcept;

  // Read by any thread.
  std::atomic<std::uint64_t> glance_{0};           // of the bytes, and of the text in the low half
  std::atomic<const Snapshot*> current_{nullptr};  // null: nothing is watched
  std::atomic<unsigned> side_{0};                  // where readers are counted from now on
  mutable std::atomic<std::uint32_t> readers_[2]{};

  // The main looper thread's.
  std::unique_ptr<const Snapshot> watched_;  // what `current_` points to
  Snapshots retired_;                        // taken out of `current_` since the sides changed
  Snapshots draining_;                       // and before that
};

}  // namespace quorvel_service
