#include "services/implement/windows_ble/src/windows_ble_service_impl.h"

#include <vector>

#include "framework/log_writer.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"

namespace quorvel_service {

void WindowsBleServiceImpl::InitService() {
  constexpr int kInitServiceLine = 11;
  QV_LOG_AT(kInformation, "InitService", kInitServiceLine) << "init Service";
  Init(0);
}

void WindowsBleServiceImpl::UnInitService() {
  UnInit();
}

std::int32_t WindowsBleServiceImpl::Init(std::int32_t retry_time) {
  BleWrapper& wrapper = BleWrapper::GetInstance();
  wrapper.SetDelegate(this);
  return wrapper.Init(retry_time);
}

std::int32_t WindowsBleServiceImpl::UnInit() {
  BleWrapper& wrapper = BleWrapper::GetInstance();
  wrapper.SetDelegate(nullptr);
  return wrapper.UnInit();
}

std::int32_t WindowsBleServiceImpl::CheckBleState(bool need_check_discoverable) {
  return BleWrapper::GetInstance().CheckBleState(false, need_check_discoverable);
}

std::int32_t WindowsBleServiceImpl::StartWatchBroadcast(bool start, const std::string& uuid,
                                                        std::uint32_t scan_mode,
                                                        bool continue_callback_enable,
                                                        std::uint64_t broadcast_cb_interval) {
  return BleWrapper::GetInstance().BleStartWatchBroadcast(
      start, uuid, scan_mode, continue_callback_enable, broadcast_cb_interval);
}

std::int32_t WindowsBleServiceImpl::StartBroadcast(bool start, const std::string& uuid,
                                                   const std::string& custom_data) {
  const std::vector<std::uint8_t> bytes(custom_data.begin(), custom_data.end());
  return BleWrapper::GetInstance().BleStartBroadcast(start, uuid, bytes);
}

std::int32_t WindowsBleServiceImpl::GetBleScanCache() {
  return BleWrapper::GetInstance().GetBleScanCache();
}

void WindowsBleServiceImpl::OnBleStateChanged(std::int32_t state) noexcept {
  Notifier().NotifyState(state);
}

void WindowsBleServiceImpl::OnStatusInfo(const std::string& json) noexcept {
  Notifier().NotifyStatusInfo(json);
}

void WindowsBleServiceImpl::OnRetryInfo(const std::string& json) noexcept {
  Notifier().NotifyRetryInfo(json);
}

void WindowsBleServiceImpl::OnDeviceJson(const std::string& json) noexcept {
  Notifier().NotifyDeviceJson(json);
}

}  // namespace quorvel_service
