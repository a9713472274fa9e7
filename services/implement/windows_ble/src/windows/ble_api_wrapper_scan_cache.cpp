#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <plenar_base/crypto.h>
#include <plenar_base/json.h>
#include <plenar_base/time.h>
#include <plenar_ble_api/ble_api.h>

#include "framework/guard.h"
#include "framework/log_writer.h"
#include "framework/main_looper.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"
#include "services/implement/windows_ble/src/windows/scan_cache.h"

namespace quorvel_service {
namespace {

using base::json::JsonType;
using base::json::JsonValue;

/// From this number of devices on, every broadcast sweeps out the expired ones.
constexpr std::size_t kSweepSize = 30;

/// What is kept of a broadcast; its time stamp is set when it is cached.
ScanCacheItem MakeItem(const BleBroadcastInfo& info) {
  ScanCacheItem item;
  item.device_id = info.address;
  item.rssi = info.rssi;
  item.advertise_data.reserve(info.manufacturer_data.size());
  for (const auto& [company, bytes] : info.manufacturer_data) {
    item.advertise_data.emplace_back(bytes.begin(), bytes.end());
  }
  item.connectable = info.connectable;
  item.local_name = info.local_name;
  item.uuids = info.service_uuids;
  return item;
}

JsonValue MakeBase64Array(const std::vector<std::string>& texts) {
  JsonValue array(JsonType::kArray);
  for (const std::string& text : texts) {
    array.AddaJsonObject(JsonValue(util::crypto::Encode64(text.data(), text.size())));
  }
  return array;
}

JsonValue MakeDeviceRecord(const ScanCacheItem& item) {
  JsonValue record;
  record.SetJsonObject("device_id", JsonValue(item.device_id));
  record.SetJsonObject("name", JsonValue(item.name));
  record.SetJsonObject("is_connected", JsonValue(item.is_connected));
  record.SetJsonObject("connectable", JsonValue(item.connectable));
  record.SetJsonObject("local_name", JsonValue(item.local_name));
  record.SetJsonObject("rssi", JsonValue(item.rssi));
  return record;
}

}  // namespace

void BleWrapper::RegisterBroadcastReceivedCB() {
  BleApi().Call<&BleApiTable::BleClientSetReceivedBroadcastCB>(
      Guarded([this](const BleBroadcastInfo& received) {
        if (!watch_filter_.Matches(received)) return;
        PostToMainLooper({__FILE__, __LINE__}, [this, item = MakeItem(received)]() mutable {
          QV_LOG(kInformation) << "find broadcast, ble addr: " << item.device_id;
          item.timestamp = util::time::GetTimestamp();
          scan_cache_.Store(std::move(item));
          has_new_scan_result_ = true;
          if (scan_cache_.Size() >= kSweepSize) {
            QV_LOG(kInformation) << "scan caches more than 30, clear expired cache";
            scan_cache_.RemoveExpired(util::time::GetTimestamp());
          }
          CheckIsGettingCache();
        });
      }));
}

void BleWrapper::CheckIsGettingCache() {
  if (scan_cache_.IsEmpty() || !is_getting_cache_) return;
  QV_LOG(kInformation) << "is getting cache, callback";
  is_getting_cache_ = false;
  DoScanCallback();
}

std::int32_t BleWrapper::GetBleScanCache() noexcept {
  assert(IsOnMainLooper());
  QV_LOG(kInformation) << "get ble scan cache";
  is_getting_cache_ = true;
  return windows_ble::result::kSuccess;
}

void BleWrapper::DoScanCallback() noexcept try {
  const std::uint64_t now = util::time::GetTimestamp();
  if (scan_mode_ == 0) scan_cache_.RemoveExpired(now);
  JsonValue devices(JsonType::kArray);
  for (const ScanCacheItem* const item : scan_cache_.InOrder()) {
    JsonValue record = MakeDeviceRecord(*item);
    const JsonValue advertise_data = MakeBase64Array(item->advertise_data);
    record.SetJsonObject("advertise_data", advertise_data);
    QV_LOG(kInformation) << record.ToStyledString(nullptr)
                         << advertise_data.ToStyledString(nullptr);
    record.SetJsonObject("uuids", MakeBase64Array(item->uuids));
    devices.AddaJsonObject(record);
  }
  if (delegate_ == nullptr) return;
  delegate_->OnDeviceJson(std::move(devices).ToStyledString(nullptr));
  if (continue_callback_enable_ || scan_mode_ == 1) scan_cache_.Clear();
} catch (...) {
  QV_LOG_FAILURE();
}

}  // namespace quorvel_service
