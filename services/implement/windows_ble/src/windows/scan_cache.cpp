#include "services/implement/windows_ble/src/windows/scan_cache.h"

#include <iterator>
#include <utility>

namespace quorvel_service {
namespace {

constexpr std::uint64_t kFreshSeconds = 20;

/// The difference is unsigned on purpose: a time stamp ahead of `now` counts as very old.
bool IsExpired(std::uint64_t now, std::uint64_t timestamp) noexcept {
  return now - timestamp > kFreshSeconds;
}

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
  // Sorted by time stamp, what is too old stands first and what lies ahead of the clock last.
  while (!ages_.empty() && IsExpired(now, ages_.begin()->first)) Remove(ages_.begin());
  while (!ages_.empty() && IsExpired(now, ages_.rbegin()->first)) Remove(std::prev(ages_.end()));
}

void ScanCache::Clear() noexcept {
  ages_.clear();
  devices_.clear();
}

void ScanCache::Remove(Ages::iterator age) {
  devices_.erase(devices_.find(*age->second));
  ages_.erase(age);
}

}  // namespace quorvel_service
