#include "services/implement/windows_ble/src/windows/scan_cache.h"

#include <utility>

namespace quorvel_service {
namespace {

constexpr std::uint64_t kFreshSeconds = 20;

}  // namespace

void ScanCache::Store(ScanCacheItem item) {
  const auto [found, is_new] = devices_.try_emplace(item.device_id);
  Device& device = found->second;
  try {
    const auto age = ages_.emplace(item.timestamp, &found->first);
    if (!is_new) ages_.erase(device.age);
    device.age = age;
  } catch (...) {
    if (is_new) devices_.erase(found);
    throw;
  }
  device.item = std::move(item);
}

void ScanCache::RemoveExpired(std::uint64_t now) {
  const std::uint64_t oldest_fresh = now - kFreshSeconds;
  // The usual case, told by both ends of the index whatever its size: everything is fresh.
  if (ages_.empty() || (oldest_fresh <= ages_.begin()->first && ages_.rbegin()->first <= now))
    return;
  if (oldest_fresh <= now) {
    Remove(ages_.begin(), ages_.lower_bound(oldest_fresh));
    Remove(ages_.upper_bound(now), ages_.end());
  } else {  // within the first seconds of the clock's range the fresh stamps wrap around its end
    Remove(ages_.upper_bound(now), ages_.lower_bound(oldest_fresh));
  }
}

void ScanCache::Clear() noexcept {
  ages_.clear();
  devices_.clear();
}

void ScanCache::Remove(Ages::iterator first, Ages::iterator last) {
  for (auto age = first; age != last; ++age) devices_.erase(devices_.find(*age->second));
  ages_.erase(first, last);
}

}  // namespace quorvel_service
