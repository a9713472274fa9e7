#include "radio/broadcast_filter.h"

#include <algorithm>

#include "air/text.h"

namespace plenar_ble {
namespace {

bool HasServiceUuid(const BleBroadcastInfo& info, const std::string& uuid) {
  return std::any_of(info.service_uuids.begin(), info.service_uuids.end(),
                     [&](const std::string& own) { return EqualsIgnoringCase(own, uuid); });
}

bool HasManufacturerData(const BleBroadcastInfo& info,
                         const BroadcastFilter::ManufacturerData& wanted) {
  const auto item = info.manufacturer_data.find(wanted.company);
  if (item == info.manufacturer_data.end()) return false;
  const auto& data = item->second;
  return data.size() >= wanted.prefix.size() &&
         std::equal(wanted.prefix.begin(), wanted.prefix.end(), data.begin());
}

}  // namespace

bool BroadcastFilter::Matches(const BleBroadcastInfo& info) const {
  return info.rssi >= minimum_dbm && (!service_uuid || HasServiceUuid(info, *service_uuid)) &&
         (!manufacturer_data || HasManufacturerData(info, *manufacturer_data));
}

}  // namespace plenar_ble
