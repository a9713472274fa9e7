#include <cassert>
#include <cstdint>
#include <optional>

#include <plenar_base/time.h>
#include <plenar_ble_api/ble_api.h>

#include "framework/log_writer.h"
#include "framework/main_looper.h"
#include "framework/process_end.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"

namespace quorvel_service {
namespace {

using util::time::ClockType;
using util::time::GetServerTimestamp;

constexpr std::int32_t kLongRetryBudget = 10;
constexpr std::uint64_t kSecondsPerDay = 86400;

}  // namespace

BleWrapper& BleWrapper::GetInstance() {
  static BleWrapper instance;
  return instance;
}

BleWrapper::~BleWrapper() {
  if (IsProcessEnding()) {
    // Other threads were ended wherever they stood, perhaps holding a lock that this would wait
    // for.
    for (auto* const timer : {&broadcast_cb_timer_, &init_check_timer_, &stopped_check_timer_}) {
      static_cast<void>(timer->release());
    }
    return;
  }
  // The module's code is about to go. A window class is not unregistered with the library that
  // registered it, and the BLE API library may stay loaded: neither may keep a pointer into the
  // module.
  DestroyMessageWindow();
  UnregisterWindowClass();
  BleApi().WithdrawCallables();
}

std::int32_t BleWrapper::Init(std::int32_t retry_time) noexcept try {
  assert(IsOnMainLooper());
  if (const std::optional<std::int32_t> result = Load(retry_time)) return *result;
  QV_LOG(kInformation) << "start ble init...,retry_time = " << retry_time;
  const BleApiTable& api = BleApi();
  if (const int ret = api.Call<&BleApiTable::BleInit>(std::uintptr_t{0}); ret != 0) {
    QV_LOG(kError) << "ble init failed, ret: " << ret;
    TakeDown();
    return windows_ble::result::kLibraryFailure;
  }
  if (const BleError err = api.Call<&BleApiTable::BleCheckState>(); err != BleError::kNone) {
    QV_LOG(kError) << "ble state is wrong, err: " << static_cast<std::int32_t>(err);
    if (err != BleError::kAdapterTemporarilyUnavailable) return windows_ble::result::kAdapterError;
    if (retry_time > 0) StartInitCheckTimer(retry_interval_);
    return windows_ble::result::kAdapterUnavailable;
  }
  CompleteSetUp();
  QV_LOG(kInformation) << "ble init success";
  retry_report_pending_ = true;
  inited_ = true;
  return windows_ble::result::kSuccess;
} catch (...) {
  QV_LOG_FAILURE();
  TakeDown();
  return windows_ble::result::kLibraryFailure;
}

std::int32_t BleWrapper::UnInit() noexcept {
  assert(IsOnMainLooper());
  if (!inited_) {
    QV_LOG(kError) << "ble is not inited";
    return windows_ble::result::kNotInitialised;
  }
  QV_LOG(kInformation) << "start ble uninit...";
  TakeDown();
  QV_LOG(kInformation) << "ble uninit success";
  inited_ = false;
  return windows_ble::result::kSuccess;
}

void BleWrapper::TakeDown() noexcept {
  BleApi().Call<&BleApiTable::BleUnInit>();
  BleApi().Unload();
  DestroyMessageWindow();
}

void BleWrapper::CompleteSetUp() {
  CreateMessageWindow();
  RegisterBroadcastReceivedCB();
  RegisterBroadcastWatherStoppedCB();
  RegisterBroadcastPublisherStatusChangedCB();
}

void BleWrapper::StartInitCheckTimer(std::uint64_t interval) {
  QV_LOG(kInformation) << "enter, has_retry_time_ = " << has_retry_time_
                       << ",retry_time_ = " << retry_time_;
  if (init_check_timer_ == nullptr && has_retry_time_ < retry_time_) {
    init_check_timer_ = MakeTimer({__FILE__, __LINE__}, [this] { DoInitCheckCallback(); });
  }
  if (retry_time_ >= kLongRetryBudget) interval = long_retry_interval_;
  if (init_check_timer_ != nullptr && !init_check_timer_->IsRunning()) {
    init_check_timer_->Start(interval, true);
  }
}

void BleWrapper::StopInitCheckTimer() {
  QV_LOG(kInformation) << "enter";
  if (init_check_timer_ != nullptr && init_check_timer_->IsRunning()) init_check_timer_->Stop();
}

void BleWrapper::DoInitCheckCallback() {
  if (has_retry_time_ == 0) first_retry_timestamp_ = GetServerTimestamp(ClockType::kSeconds);
  ++has_retry_time_;
  if (BleApi().Call<&BleApiTable::BleCheckState>() == BleError::kNone) {
    StopInitCheckTimer();
    CompleteSetUp();
    QV_LOG(kInformation) << "ble init success";
    inited_ = true;
    CheckBleState(true, false);
    retry_report_pending_ = true;
    ReportRetryInfo(true, has_retry_time_);
    has_retry_time_ = 0;
  }
  // Unsigned on purpose: a clock that was set back to before the first check starts a new period
  // too.
  if (GetServerTimestamp(ClockType::kSeconds) - first_retry_timestamp_ > kSecondsPerDay) {
    has_retry_time_ = 0;
    QV_LOG(kInformation) << "the next day,reset has_retry_time_ = 0";
  }
  if (has_retry_time_ >= retry_time_) {
    StopInitCheckTimer();
    QV_LOG(kInformation) << "has_retry_time_ >= retry_time_, stop timer";
    retry_report_pending_ = true;
    ReportRetryInfo(false, has_retry_time_);
  }
}

}  // namespace quorvel_service
