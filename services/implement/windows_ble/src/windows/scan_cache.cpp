#include "services/implement/windows_ble/src/windows/scan_cache.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <utility>

namespace quorvel_service {
namespace {

constexpr std::uint64_t kFreshSeconds = 20;

/// An item beside the beginning of its address, so that few comparisons look behind the pointer.
struct Entry {
  explicit Entry(const ScanCacheItem& of) : item(&of) {
    of.device_id.copy(beginning.data(), beginning.size());
  }

  bool operator<(const Entry& other) const noexcept {
    const int order = std::memcmp(beginning.data(), other.beginning.data(), beginning.size());
    return order != 0 ? order < 0 : item->device_id < other.item->device_id;
  }

  std::array<char, 24> beginning{};  // a whole address; what is missing counts as NUL
  const ScanCacheItem* item;
};

}  // namespace

void ScanCache::Store(ScanCacheItem item) {
  Items added;
  const auto stored = added.insert(added.end(), std::move(item));
  if (auto known = places_.extract(stored->device_id)) {
    items_.erase(known.mapped());
    known.key() = stored->device_id;
    known.mapped() = stored;
    places_.insert(std::move(known));
  } else {
    places_.emplace(stored->device_id, stored);
  }
  // The last place, unless the clock was set back.
  auto place = items_.end();
  while (place != items_.begin() && std::prev(place)->timestamp > stored->timestamp) --place;
  items_.splice(place, added);
}

void ScanCache::RemoveExpired(std::uint64_t now) {
  const auto is_expired = [now](const ScanCacheItem& item) {
    return now - item.timestamp > kFreshSeconds;
  };
  while (!items_.empty() && is_expired(items_.front())) Remove(items_.begin());
  while (!items_.empty() && is_expired(items_.back())) Remove(std::prev(items_.end()));
}

void ScanCache::Clear() noexcept {
  places_.clear();
  items_.clear();
}

std::vector<const ScanCacheItem*> ScanCache::InOrder() const {
  std::vector<Entry> entries(items_.begin(), items_.end());
  std::sort(entries.begin(), entries.end());
  std::vector<const ScanCacheItem*> ordered;
  ordered.reserve(entries.size());
  for (const Entry& entry : entries) ordered.push_back(entry.item);
  return ordered;
}

void ScanCache::Remove(Items::iterator item) {
  places_.erase(item->device_id);
  items_.erase(item);
}

}  // namespace quorvel_service
