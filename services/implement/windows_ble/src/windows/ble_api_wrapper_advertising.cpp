#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <plenar_base/json.h>
#include <plenar_ble_api/ble_api.h>

#include "framework/guard.h"
#include "framework/log_writer.h"
#include "framework/main_looper.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"
#include "services/implement/windows_ble/src/windows/uuid.h"

namespace quorvel_service {
namespace {

using base::json::JsonValue;

/// What one manufacturer-specific data item of an advertisement holds besides its company
/// identifier.
constexpr std::size_t kMaxPayloadBytes = 28;

std::vector<std::uint8_t> MakePayload(const std::string& uuid,
                                      const std::vector<std::uint8_t>& custom_data) {
  std::vector<std::uint8_t> payload = UuidStringToBytes(uuid);
  payload.insert(payload.end(), custom_data.begin(), custom_data.end());
  return payload;
}

}  // namespace

std::int32_t BleWrapper::BleStartBroadcast(bool start, const std::string& uuid,
                                           const std::vector<std::uint8_t>& custom_data) noexcept
    try {
  assert(IsOnMainLooper());
  if (!inited_) {
    QV_LOG(kError) << "ble is not inited";
    return windows_ble::result::kNotInitialised;
  }
  QV_LOG(kInformation) << "start: " << start << ", uuid: " << uuid
                       << ", publisher status: " << static_cast<std::int32_t>(publisher_status_);
  if (publisher_status_ == BlePublisherStatus::kStarting ||
      publisher_status_ == BlePublisherStatus::kStopping) {
    QV_LOG(kWarning) << "broadcast service is starting/stopping, ignore it";
    return windows_ble::result::kSuccess;
  }
  if (!start) {
    BleApi().Call<&BleApiTable::BleServerStopBroadcast>();
    return windows_ble::result::kSuccess;
  }
  if (!IsValidUuid(uuid)) {
    QV_LOG(kError) << "invalid uuid:" << uuid;
    return windows_ble::result::kInvalidUuid;
  }
  if (const std::uint64_t length = kUuidByteCount + custom_data.size(); length > kMaxPayloadBytes) {
    QV_LOG(kError) << "data length: " << length << ", it exceeds 28 bytes";
    return windows_ble::result::kPayloadTooLong;
  }

  std::vector<std::uint8_t> payload = MakePayload(uuid, custom_data);
  if (publisher_status_ != BlePublisherStatus::kStarted) {
    broadcast_data_ = std::move(payload);
    return InnerStartBroadcast();
  }
  if (payload == broadcast_data_) {
    QV_LOG(kWarning) << "repeat broadcast, ignore it";
    return windows_ble::result::kSuccess;
  }
  QV_LOG(kInformation) << "publisher started, need to stop it first";
  broadcast_data_ = std::move(payload);
  BleApi().Call<&BleApiTable::BleServerStopBroadcast>();
  need_restart_broadcast_ = true;
  return windows_ble::result::kSuccess;
} catch (...) {
  QV_LOG_FAILURE();
  return windows_ble::result::kLibraryFailure;
}

std::int32_t BleWrapper::InnerStartBroadcast() noexcept {
  const BleApiTable& api = BleApi();
  int result = api.Call<&BleApiTable::BleServerAddManufacturerData>(
      kCompanyId, broadcast_data_.data(), broadcast_data_.size());
  if (result == 0) result = api.Call<&BleApiTable::BleServerStartBroadcast>();
  QV_LOG(kInformation) << "ble start broadcast result: " << result;
  return result == 0 ? windows_ble::result::kSuccess : windows_ble::result::kLibraryFailure;
}

void BleWrapper::RegisterBroadcastPublisherStatusChangedCB() {
  BleApi().Call<&BleApiTable::BleServerSetStatusChangedCB>(
      Guarded([this](BlePublisherStatus status, BleError err) {
        PostToMainLooper({__FILE__, __LINE__}, [this, status, err] {
          QV_LOG(kInformation) << "broadcast publisher status changed, status: "
                               << static_cast<std::int32_t>(status)
                               << ", err: " << static_cast<std::int32_t>(err);
          DoPublisherStatusChangedInfo(status, err);
          publisher_status_ = status;
          if (need_restart_broadcast_ && status == BlePublisherStatus::kStopped) {
            QV_LOG(kInformation) << "restart broadcast";
            InnerStartBroadcast();
            need_restart_broadcast_ = false;
          }
        });
      }));
}

void BleWrapper::DoPublisherStatusChangedInfo(BlePublisherStatus status, BleError err) noexcept
    try {
  JsonValue info;
  info.SetJsonObject("status", JsonValue(static_cast<std::int32_t>(status)));
  info.SetJsonObject("err", JsonValue(static_cast<std::int32_t>(err)));
  if (err == BleError::kPublisherInUse) {
    QV_LOG(kInformation) << "broadcast publisher is used, reset data cache";
    broadcast_data_.clear();
  }
  if (delegate_ != nullptr) delegate_->OnStatusInfo(info.ToStyledString(nullptr));
} catch (...) {
  QV_LOG_FAILURE();
}

}  // namespace quorvel_service
