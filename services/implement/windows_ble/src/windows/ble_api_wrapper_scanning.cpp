#include <cassert>
#include <cstdint>
#include <iterator>
#include <string>

#include <plenar_ble_api/ble_api.h>

#include "framework/guard.h"
#include "framework/log_writer.h"
#include "framework/main_looper.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"

namespace quorvel_service {
namespace {

/// How long a library that does not report the end of its watcher is waited for.
constexpr std::uint64_t kStoppedCheckDelayMs = 100;

/// The library's scan mode for the host's.
std::int32_t TranslateScanMode(std::uint32_t scan_mode) noexcept {
  constexpr std::int32_t kLibraryModes[] = {0, 2, 1};
  return scan_mode < std::size(kLibraryModes) ? kLibraryModes[scan_mode] : 0;
}

}  // namespace

std::int32_t BleWrapper::BleStartWatchBroadcast(bool start, const std::string& uuid,
                                                std::uint32_t scan_mode,
                                                bool continue_callback_enable,
                                                std::uint64_t broadcast_cb_interval) noexcept try {
  assert(IsOnMainLooper());
  if (!inited_) {
    QV_LOG(kError) << "ble is not inited";
    return windows_ble::result::kNotInitialised;
  }
  QV_LOG(kInformation) << "start: " << start << ", uuid: " << uuid << ", scan mode: " << scan_mode
                       << "continue_callback_enable: " << continue_callback_enable
                       << "broadcast_cb_interval: " << broadcast_cb_interval;
  watch_uuid_ = uuid;
  watch_filter_.Watch(watch_uuid_);
  if (!start) {
    if (watcher_status_ == kWatcherStarted) {
      MakeStoppedCheckTimer();  // first: without it nothing would end the stopping
      watcher_status_ = kWatcherStopping;
      BleApi().Call<&BleApiTable::BleClientStopWatchBroadcast>();
      StartStoppedCheckTimer(kStoppedCheckDelayMs);
    }
    return windows_ble::result::kSuccess;
  }

  continue_callback_enable_ = continue_callback_enable;
  const std::int32_t library_mode = TranslateScanMode(scan_mode);
  if (scan_mode_ == 0 && library_mode == 1 && !reporting_mode_change_) {
    reporting_mode_change_ = true;
    DoScanCallback();  // still by the rules of mode 0
    reporting_mode_change_ = false;
  }
  scan_mode_ = library_mode;
  broadcast_cb_interval_ = broadcast_cb_interval;
  if (watcher_status_ == kWatcherStopping) {
    QV_LOG(kWarning) << "watcher in stopping";
    need_to_watch_broadcast_ = true;
    return windows_ble::result::kSuccess;
  }
  return InnerWatchBroadcast();
} catch (...) {
  QV_LOG_FAILURE();
  return windows_ble::result::kLibraryFailure;
}

std::int32_t BleWrapper::InnerWatchBroadcast() noexcept try {
  if (continue_callback_enable_ || scan_mode_ == 1) {
    StartBroadcastCBTimer(broadcast_cb_interval_);
  } else {
    StopBroadcastCBTimer();
  }
  const BleApiTable& api = BleApi();
  api.Call<&BleApiTable::BleClientSetScanMode>(scan_mode_);
  const int result = api.Call<&BleApiTable::BleClientStartWatchBroadcast>();
  // Also when refused, so that a later stop still reaches the library.
  watcher_status_ = kWatcherStarted;
  QV_LOG(kInformation) << "ble watch broadcast result: " << result;
  return result == 0 ? windows_ble::result::kSuccess : windows_ble::result::kLibraryFailure;
} catch (...) {
  QV_LOG_FAILURE();
  return windows_ble::result::kLibraryFailure;
}

void BleWrapper::RegisterBroadcastWatherStoppedCB() {
  BleApi().Call<&BleApiTable::BleClientSetStoppedWatchBroadcastCB>(Guarded([this](BleError err) {
    PostToMainLooper({__FILE__, __LINE__}, [this, err] {
      QV_LOG(kInformation) << "broadcast wather stopped, err: " << static_cast<std::int32_t>(err);
      OnBroadcastWatherStopped();
    });
  }));
}

void BleWrapper::OnBroadcastWatherStopped() {
  StopBroadcastCBTimer();
  watcher_status_ = kWatcherStopped;
  if (need_to_watch_broadcast_) {
    QV_LOG(kInformation) << "rewatch broadcast";
    InnerWatchBroadcast();
    need_to_watch_broadcast_ = false;
  }
}

void BleWrapper::MakeStoppedCheckTimer() {
  if (stopped_check_timer_ != nullptr) return;
  stopped_check_timer_ = MakeTimer({__FILE__, __LINE__}, [this] {
    QV_LOG(kInformation) << "need_to_watch_broadcast_:" << need_to_watch_broadcast_;
    if (need_to_watch_broadcast_) {
      OnBroadcastWatherStopped();
    } else {
      watcher_status_ = kWatcherStopped;
    }
  });
}

void BleWrapper::StartStoppedCheckTimer(std::uint64_t delay) {
  MakeStoppedCheckTimer();
  if (!stopped_check_timer_->IsRunning()) stopped_check_timer_->Start(delay, false);
}

void BleWrapper::StartBroadcastCBTimer(std::uint64_t interval) {
  QV_LOG(kInformation) << "enter";
  if (broadcast_cb_timer_ == nullptr) {
    broadcast_cb_timer_ = MakeTimer({__FILE__, __LINE__}, [this] {
      if (!has_new_scan_result_) return;
      has_new_scan_result_ = false;
      DoScanCallback();
    });
  }
  if (!broadcast_cb_timer_->IsRunning()) broadcast_cb_timer_->Start(interval, true);
}

void BleWrapper::StopBroadcastCBTimer() {
  QV_LOG(kInformation) << "enter";
  if (broadcast_cb_timer_ != nullptr && broadcast_cb_timer_->IsRunning()) {
    broadcast_cb_timer_->Stop();
  }
}

}  // namespace quorvel_service
