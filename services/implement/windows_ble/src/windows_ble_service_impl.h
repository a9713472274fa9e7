#pragma once

#include <cstdint>
#include <string>

#include "framework/service_register.h"
#include "services/implement/windows_ble/generated/windows_ble_service_base.h"
#include "services/implement/windows_ble/src/windows/ble_wrapper_delegate.h"

namespace quorvel_service {

/// The service that a host holds. Keeps no state: its methods go to the process's one `BleWrapper`,
/// whose reports come back as events. All services share the wrapper, and it reports to the one
/// whose `Init` ran last; `UnInit` of any ends the reports. [main looper]
///
/// Its destructor does not take BLE support down, `UnInitService` does.
class WindowsBleServiceImpl final : public WindowsBleServiceBase,
                                    public ServiceRegister<WindowsBleServiceImpl>,
                                    public BleWrapperDelegate {
 public:
  void InitService() override;
  void UnInitService() override;

  std::int32_t Init(std::int32_t retry_time) override;
  std::int32_t UnInit() override;
  std::int32_t CheckBleState(bool need_check_discoverable) override;
  std::int32_t StartWatchBroadcast(bool start, const std::string& uuid, std::uint32_t scan_mode,
                                   bool continue_callback_enable,
                                   std::uint64_t broadcast_cb_interval) override;
  std::int32_t StartBroadcast(bool start, const std::string& uuid,
                              const std::string& custom_data) override;
  std::int32_t GetBleScanCache() override;

  void OnBleStateChanged(std::int32_t state) noexcept override;
  void OnStatusInfo(const std::string& json) noexcept override;
  void OnRetryInfo(const std::string& json) noexcept override;
  void OnDeviceJson(const std::string& json) noexcept override;
};

}  // namespace quorvel_service
