#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <plenar_base/timer.h>
#include <plenar_ble_api/ble_api.h>

#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_wrapper_delegate.h"
#include "services/implement/windows_ble/src/windows/scan_cache.h"
#include "services/implement/windows_ble/src/windows/watch_filter.h"

namespace quorvel_service {

/// Does all BLE work of the process: brings the BLE API library up and down, follows the adapter
/// and the radio, advertises and scans.
///
/// The service forwards each of the host's methods to it and gets its reports as its delegate. What
/// an operation returns is a result code of `windows_ble_service_ids.h`; none throws. Everything
/// runs on the main looper thread and takes no lock: the library's callbacks only copy what they
/// are given and post a task. The one object lives until the module is unloaded and is never reset:
/// what is not named at `UnInit` outlives it.
class BleWrapper {
 public:
  static BleWrapper& GetInstance();

  BleWrapper(const BleWrapper&) = delete;
  BleWrapper& operator=(const BleWrapper&) = delete;

  /// Sets the receiver of reports, not owned; null ends them.
  void SetDelegate(BleWrapperDelegate* delegate) noexcept { delegate_ = delegate; }

  /// Brings BLE support up. With a positive `retry_time` an adapter that is temporarily unavailable
  /// is checked again on a timer, at most that many times a day.
  std::int32_t Init(std::int32_t retry_time) noexcept;
  /// Takes BLE support down and unloads the library.
  std::int32_t UnInit() noexcept;

  std::int32_t CheckBleState(bool report_to_delegate, bool need_check_discoverable) noexcept;

  std::int32_t BleStartBroadcast(bool start, const std::string& uuid,
                                 const std::vector<std::uint8_t>& custom_data) noexcept;

  /// `scan_mode` is the host's: 0, 1 or 2, any other counts as 0. The interval is in milliseconds.
  std::int32_t BleStartWatchBroadcast(bool start, const std::string& uuid, std::uint32_t scan_mode,
                                      bool continue_callback_enable,
                                      std::uint64_t broadcast_cb_interval) noexcept;
  /// Asks for a report of the scan cache, which comes with the next broadcast that is cached.
  std::int32_t GetBleScanCache() noexcept;

 private:
  BleWrapper() = default;
  ~BleWrapper();

  // Lifecycle.
  /// The first steps of `Init`, up to a library that is loaded and bound. Gives the result with
  /// which `Init` ends, or none: then it goes on.
  std::optional<std::int32_t> Load(std::int32_t retry_time) noexcept;
  [[nodiscard]] bool CheckSignature(const std::string& file_name) const;
  void TakeDown() noexcept;
  void CompleteSetUp();
  void StartInitCheckTimer(std::uint64_t interval);
  void StopInitCheckTimer();
  void DoInitCheckCallback();

  // Adapter and radio state.
  [[nodiscard]] bool CheckBleRadioIsOn() const;
  [[nodiscard]] bool CheckBleRadioIsDiscoverable() const;
  void ReportRetryInfo(bool is_success, std::int32_t retry_time) noexcept;
  void CreateMessageWindow();
  void DestroyMessageWindow() noexcept;
  void UnregisterWindowClass() noexcept;
  static LRESULT CALLBACK MessageWndProc(HWND window, UINT message, WPARAM wparam,
                                         LPARAM lparam) noexcept;

  // Advertising.
  void RegisterBroadcastPublisherStatusChangedCB();
  std::int32_t InnerStartBroadcast() noexcept;
  void DoPublisherStatusChangedInfo(BlePublisherStatus status, BleError err) noexcept;

  // Scanning.
  enum WatcherStatus : std::int32_t {
    kWatcherStarted = 1,
    kWatcherStopping = 2,
    kWatcherStopped = 3,
  };
  void RegisterBroadcastWatherStoppedCB();
  std::int32_t InnerWatchBroadcast() noexcept;
  void OnBroadcastWatherStopped();
  void StartBroadcastCBTimer(std::uint64_t interval);
  void StopBroadcastCBTimer();
  void MakeStoppedCheckTimer();
  void StartStoppedCheckTimer(std::uint64_t delay);

  // Scan results.
  void RegisterBroadcastReceivedCB();
  void CheckIsGettingCache();
  void DoScanCallback() noexcept;

  bool inited_ = false;     // library loaded and initialised, adapter usable, set-up complete
  std::string watch_uuid_;  // what `watch_filter_` is made from
  ScanCache scan_cache_;
  std::unique_ptr<base::threading::Timer> broadcast_cb_timer_;
  std::unique_ptr<base::threading::Timer> init_check_timer_;
  bool has_new_scan_result_ = false;     // since the last tick of the broadcast-callback timer
  bool need_restart_broadcast_ = false;  // as soon as the publisher has stopped
  BlePublisherStatus publisher_status_ = BlePublisherStatus::kStopped;  // as last reported
  std::vector<std::uint8_t> broadcast_data_;
  BleWrapperDelegate* delegate_ = nullptr;
  HWND message_window_ = nullptr;
  HDEVNOTIFY device_notification_ = nullptr;
  std::int32_t scan_mode_ = 1;  // in the library's numbering
  std::int32_t ble_state_ = windows_ble::result::kNotInitialised;
  bool need_to_watch_broadcast_ = false;  // as soon as the watcher has stopped
  std::int32_t watcher_status_ = kWatcherStopped;
  std::uint64_t broadcast_cb_interval_ = 500;  // ms
  std::uint64_t retry_interval_ = 3000;        // ms
  std::uint64_t long_retry_interval_ = 30000;  // ms, for large budgets
  std::int32_t retry_time_ = 0;                // budget of checks per day
  std::int32_t has_retry_time_ = 0;            // checks made in the current period
  std::uint64_t first_retry_timestamp_ = 0;    // s, of the period's first check
  bool is_getting_cache_ = false;
  bool retry_report_pending_ = false;
  std::unique_ptr<base::threading::Timer> stopped_check_timer_;
  bool continue_callback_enable_ = true;

  WatchFilter watch_filter_;  // `watch_uuid_` for the library's threads

  // The host may call any method from inside a report; what would make the same report again, and
  // so go on without end, is left out then.
  bool delivering_retry_info_ = false;
  bool reporting_mode_change_ = false;
};

}  // namespace quorvel_service
