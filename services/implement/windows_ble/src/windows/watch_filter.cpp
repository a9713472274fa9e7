#include "services/implement/windows_ble/src/windows/watch_filter.h"

#include <algorithm>
#include <utility>

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

void WatchFilter::Watch(const std::string& uuid) {
  if (watched_ == nullptr ? uuid.empty() : watched_->text == uuid) return;
  std::unique_ptr<Snapshot> next;
  if (!uuid.empty()) {
    next = std::make_unique<Snapshot>(Snapshot{uuid, {}});
    std::ranges::copy(UuidStringToBytes(uuid), next->bytes.begin());
  }
  retired_.reserve(retired_.size() + 1);  // nothing behind this throws
  current_.store(next.get());
  retired_.push_back(std::exchange(watched_, std::move(next)));
  // Without readers inside both sides are found empty.
  FreeWhatNobodyReads();
  FreeWhatNobodyReads();
}

void WatchFilter::FreeWhatNobodyReads() noexcept {
  const unsigned idle_side = 1 - side_.load(std::memory_order_relaxed);
  for (const Readers& readers : readers_) {
    if (readers.count[idle_side].load() != 0) return;
  }
  // For those that were draining, the other side was found empty when they were put there.
  draining_ = std::exchange(retired_, {});
  side_.store(idle_side, std::memory_order_relaxed);
}

WatchFilter::Readers& WatchFilter::ReadersOfThisThread() const noexcept {
  // Threads are told apart by their stacks, which costs nothing. It need not be exact.
  const char here = 0;
  const auto place = std::uint64_t{reinterpret_cast<std::uintptr_t>(&here)} >> 16;
  return readers_[(place * 0x9E3779B97F4A7C15u) >> 60];
}

bool WatchFilter::Matches(const BleBroadcastInfo& info) const noexcept {
  const auto entry = info.manufacturer_data.find(kCompanyId);
  const bool has_our_data =
      entry != info.manufacturer_data.end() && entry->second.size() >= kUuidByteCount;
  if (info.service_uuids.empty() && !has_our_data) return false;

  auto& count = ReadersOfThisThread().count[side_.load(std::memory_order_relaxed)];
  count.fetch_add(1);
  const Snapshot* const watched = current_.load();
  const bool matches =
      watched != nullptr &&
      (std::ranges::find(info.service_uuids, watched->text) != info.service_uuids.end() ||
       (has_our_data &&
        std::ranges::equal(watched->bytes.begin(), watched->bytes.end(), entry->second.begin(),
                           entry->second.begin() + kUuidByteCount)));
  count.fetch_sub(1, std::memory_order_release);
  return matches;
}

}  // namespace quorvel_service
