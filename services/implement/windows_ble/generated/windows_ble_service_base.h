#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <plenar_base/future.h>
#include <plenar_base/variant.h>

#include "framework/service_base.h"

namespace quorvel_service {

/// Raises the service's events: each packs one value into a payload with one member, named as the
/// event, and hands it to the service's listeners. An event for which there is no memory is lost.
/// [main looper]
class WindowsBleServiceNotifier {
 public:
  explicit WindowsBleServiceNotifier(ServiceBase* service) noexcept : service_(service) {}

  void NotifyState(std::int32_t state) noexcept;
  void NotifyStatusInfo(const std::string& status_info) noexcept;
  void NotifyRetryInfo(const std::string& retry_info) noexcept;
  void NotifyDeviceJson(const std::string& device_json) noexcept;

 private:
  ServiceBase* service_;  // not owned; owns this object
};

/// Turns calls by method id into calls of typed operations, and their results into completed
/// futures. The order of the virtual operations is part of the contract. [main looper]
class WindowsBleServiceBase : public ServiceBase {
 public:
  static std::string ServiceName();

  std::shared_ptr<base::future::VariantFuture> Call(
      std::uint64_t method_id, const std::shared_ptr<base::variant::Variant>& arguments) override;

  // The service's methods. Each returns a result code of `windows_ble_service_ids.h`.
  virtual std::int32_t Init(std::int32_t retry_time) = 0;
  virtual std::int32_t UnInit() = 0;
  virtual std::int32_t CheckBleState(bool need_check_discoverable) = 0;
  virtual std::int32_t StartWatchBroadcast(bool start, const std::string& uuid,
                                           std::uint32_t scan_mode, bool continue_callback_enable,
                                           std::uint64_t broadcast_cb_interval) = 0;
  virtual std::int32_t StartBroadcast(bool start, const std::string& uuid,
                                      const std::string& custom_data) = 0;
  virtual std::int32_t GetBleScanCache() = 0;

 protected:
  [[nodiscard]] WindowsBleServiceNotifier& Notifier() noexcept { return *notifier_; }

 private:
  std::unique_ptr<WindowsBleServiceNotifier> notifier_ =
      std::make_unique<WindowsBleServiceNotifier>(this);
};

}  // namespace quorvel_service
