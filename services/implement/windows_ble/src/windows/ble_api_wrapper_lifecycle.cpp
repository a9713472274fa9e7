#include <plenar_base/deviceinfo.h>
#include <plenar_base/time.h>

#include "framework/process_end.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"
#include "services/implement/windows_ble/src/windows/build_settings.h"
#include "services/implement/windows_ble/src/windows/wrapper_support.h"

namespace quorvel_service {
namespace {

using util::time::ClockType;
using util::time::GetServerTimestamp;

constexpr std::int32_t kLongRetryBudget = 10;
constexpr std::uint64_t kSecondsPerDay = 86400;

/// The adapter's state for a re-check, for which a library that throws is one more failed check.
BleError CheckAdapter() noexcept {
  BleError err{BleApiTable::kRefused};
  Swallow([&] { err = BleApi().Call<&BleApiTable::BleCheckState>(); });
  return err;
}

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
  retry_time_ = retry_time;
  if (inited_) {
    QV_LOG(kError) << "ble is already inited, retry_time = " << retry_time;
    return windows_ble::result::kSuccess;
  }
  if (!util::deviceinfo::IsWin10OrLater()) {
    QV_LOG(kError) << "current windows version is not win10 or later";
    return windows_ble::result::kWindowsTooOld;
  }
  if (!CheckSignature(build_settings::kBleApiLibrary)) {
    QV_LOG(kError) << "dll signature is illegal";
    return windows_ble::result::kLibraryFailure;
  }
  const HMODULE library = ::LoadLibraryA(build_settings::kBleApiLibrary);
  if (library == nullptr) {
    QV_LOG_TAKING(kError, error, static_cast<std::uint32_t>(::GetLastError()))
        << "load lib failed, error: " << error;
    return windows_ble::result::kLibraryFailure;
  }
  BleApiTable& api = BleApi();
  if (const BleApiBinding* const missing = api.Bind(library)) {
    if (missing->logs_error_code) {
      QV_LOG_TAKING(kError, error, static_cast<std::uint32_t>(::GetLastError()))
          << missing->failure_line << error;
    } else if (missing->failure_line != nullptr) {
      QV_LOG(kError) << missing->failure_line;
    }
    QV_LOG(kError) << "load func failed.";
    api.Unload();
    return windows_ble::result::kLibraryFailure;
  }
  // Without its log lines the library serves as well.
  Swallow([&] { api.Call<&BleApiTable::BleSetLogFunc>(&ForwardLibraryLog); });

  QV_LOG(kInformation) << "start ble init...,retry_time = " << retry_time;
  int ret = BleApiTable::kRefused;
  Swallow([&] { ret = api.Call<&BleApiTable::BleInit>(std::uintptr_t{0}); });
  if (ret != 0) {
    QV_LOG(kError) << "ble init failed, ret: " << ret;
    Swallow([&] { api.Call<&BleApiTable::BleUnInit>(); });
    api.Unload();
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
  QV_LOG_FAILURE(std::current_exception());
  return windows_ble::result::kLibraryFailure;
}

std::int32_t BleWrapper::UnInit() noexcept try {
  if (!inited_) {
    QV_LOG(kError) << "ble is not inited";
    return windows_ble::result::kNotInitialised;
  }
  QV_LOG(kInformation) << "start ble uninit...";
  const auto failure = Attempt([] { BleApi().Call<&BleApiTable::BleUnInit>(); });
  BleApi().Unload();
  DestroyMessageWindow();
  QV_LOG(kInformation) << "ble uninit success";
  inited_ = false;
  Rethrow(failure);
  return windows_ble::result::kSuccess;
} catch (...) {
  QV_LOG_FAILURE(std::current_exception());
  return windows_ble::result::kLibraryFailure;
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
    init_check_timer_ = base::threading::CreateTimer(Swallowing([this] { DoInitCheckCallback(); }),
                                                     base::Location(__FILE__, __LINE__));
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
  if (CheckAdapter() == BleError::kNone) {
    StopInitCheckTimer();
    if (const auto failure = Attempt([this] { CompleteSetUp(); })) {
      QV_LOG_FAILURE(failure);
      StartInitCheckTimer(retry_interval_);  // one more failed check
    } else {
      QV_LOG(kInformation) << "ble init success";
      inited_ = true;
      CheckBleState(true, false);
      retry_report_pending_ = true;
      ReportRetryInfo(true, has_retry_time_);
      has_retry_time_ = 0;
    }
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
