#include "services/implement/windows_ble/src/windows/watch_filter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <plenar_ble_api/ble_api.h>

// When a snapshot is freed
//
// A reader counts itself in (1), loads `current_` (2), looks at the snapshot and counts itself out
// (3). The main looper thread stores another pointer (4) and later finds a counter at 0 (5).
//
// Say that a reader got the old pointer. (1), (2), (4) and (5) are sequentially consistent, and in
// their one order (2) comes before (4), or else it would have got the new pointer. So (1) is before
// (5), which therefore counts that reader in and, since it finds 0, out again: it has seen the
// release (3), and all that the reader read lies before it.
//
// Hence a snapshot is out of reach once every counter was found at 0, each at some moment after
// (4). Under unbroken traffic a counter in use may never be. Therefore readers count on one of two
// sides: the other one runs empty, whereupon the sides change and the first one runs empty. A
// reader that took the number of the side long ago and counts itself in late does no harm: what
// was said holds for any counter.

namespace quorvel_service {
namespace {

/// The same number for equal bytes, and seldom for others. What is shorter than a UUID gives 0.
std::uint32_t Glance(const void* bytes, std::size_t size) noexcept {
  if (size < kUuidByteCount) return 0;
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  std::memcpy(&first, bytes, sizeof(first));
  std::memcpy(&last, static_cast<const char*>(bytes) + size - sizeof(last), sizeof(last));
  return static_cast<std::uint32_t>((first + 3 * last) * 0x9E3779B97F4A7C15u >> 32);
}

std::uint32_t Glance(const std::string& text) noexcept {
  return Glance(text.data(), text.size());
}

/// The manufacturer data that can begin with the bytes of a UUID; null if there is none.
const std::uint8_t* OurData(const BleBroadcastInfo& info) noexcept {
  const auto entry = info.manufacturer_data.find(kCompanyId);
  const bool is_ours =
      entry != info.manufacturer_data.end() && entry->second.size() >= kUuidByteCount;
  return is_ours ? entry->second.data() : nullptr;
}

}  // namespace

void WatchFilter::Watch(const std::string& uuid) {
  if (watched_ == nullptr ? uuid.empty() : watched_->text == uuid) return;
  std::unique_ptr<Snapshot> next;
  if (!uuid.empty()) {
    next = std::make_unique<Snapshot>(Snapshot{uuid, {}});
    std::ranges::copy(UuidStringToBytes(uuid), next->bytes.begin());
  }
  retired_.reserve(retired_.size() + 1);  // nothing behind this throws
  if (next != nullptr) {
    const std::uint64_t of_bytes = Glance(next->bytes.data(), next->bytes.size());
    glance_.store(of_bytes << 32 | Glance(uuid));
  }
  current_.store(next.get());
  retired_.push_back(std::exchange(watched_, std::move(next)));
  // Without readers inside both sides are found empty.
  FreeWhatNobodyReads();
  FreeWhatNobodyReads();
}

void WatchFilter::FreeWhatNobodyReads() noexcept {
  const unsigned idle_side = 1 - side_.load(std::memory_order_relaxed);
  if (readers_[idle_side].load() != 0) return;
  // For those that were draining, the other side was found empty when they were put there.
  draining_ = std::exchange(retired_, {});
  side_.store(idle_side, std::memory_order_relaxed);
}

bool WatchFilter::Matches(const BleBroadcastInfo& info) const noexcept {
  // A glance is enough for nearly all that does not match.
  const std::uint64_t watched = glance_.load(std::memory_order_relaxed);
  const std::uint8_t* const data = OurData(info);
  if (data != nullptr && Glance(data, kUuidByteCount) == watched >> 32) {
    return MatchesSnapshot(info);
  }
  for (const std::string& uuid : info.service_uuids) {
    if (Glance(uuid) == static_cast<std::uint32_t>(watched)) return MatchesSnapshot(info);
  }
  return false;
}

bool WatchFilter::MatchesSnapshot(const BleBroadcastInfo& info) const noexcept {
  std::atomic<std::uint32_t>& readers = readers_[side_.load(std::memory_order_relaxed)];
  readers.fetch_add(1);
  const Snapshot* const watched = current_.load();
  bool matches = false;
  if (watched != nullptr) {
    const auto& uuids = info.service_uuids;
    const std::uint8_t* const data = OurData(info);
    matches = std::ranges::find(uuids, watched->text) != uuids.end() ||
              (data != nullptr && std::equal(watched->bytes.begin(), watched->bytes.end(), data));
  }
  readers.fetch_sub(1, std::memory_order_release);
  return matches;
}

}  // namespace quorvel_service
