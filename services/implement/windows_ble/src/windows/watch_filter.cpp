#include "services/implement/windows_ble/src/windows/watch_filter.h"

#include <algorithm>
#include <utility>

#include "services/implement/windows_ble/src/windows/uuid.h"

namespace quorvel_service {

void WatchFilter::Watch(const std::string& uuid) {
  if (!kept_.empty() && kept_.back()->text == uuid) return;
  kept_.push_back(std::make_unique<const Snapshot>(Snapshot{uuid, UuidStringToBytes(uuid)}));
  current_.store(kept_.back().get());
  // A reader that comes after this store sees the new snapshot. With no reader inside now, the old
  // ones are out of reach; otherwise a later change frees them.
  if (readers_.load() == 0) kept_.erase(kept_.begin(), kept_.end() - 1);
}

bool WatchFilter::Matches(const BleBroadcastInfo& info) const noexcept {
  readers_.fetch_add(1);
  const Snapshot* const watched = current_.load();
  const bool matches = watched != nullptr && Matches(*watched, info);
  readers_.fetch_sub(1);
  return matches;
}

bool WatchFilter::Matches(const Snapshot& watched, const BleBroadcastInfo& info) noexcept {
  if (watched.text.empty()) return false;
  const auto& uuids = info.service_uuids;
  if (std::find(uuids.begin(), uuids.end(), watched.text) != uuids.end()) return true;
  const auto entry = info.manufacturer_data.find(kCompanyId);
  return entry != info.manufacturer_data.end() && entry->second.size() >= watched.bytes.size() &&
         std::equal(watched.bytes.begin(), watched.bytes.end(), entry->second.begin());
}

}  // namespace quorvel_service
