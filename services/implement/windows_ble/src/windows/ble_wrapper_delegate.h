#pragma once

#include <cstdint>
#include <string>

namespace quorvel_service {

/// Receives the wrapper's reports. Not owned by the wrapper. The order of the virtual operations is
/// part of the contract. None throws. [main looper]
class BleWrapperDelegate {
 public:
  virtual void OnBleStateChanged(std::int32_t state) noexcept = 0;
  virtual void OnStatusInfo(const std::string& json) noexcept = 0;
  virtual void OnRetryInfo(const std::string& json) noexcept = 0;
  virtual void OnDeviceJson(const std::string& json) noexcept = 0;

 protected:
  ~BleWrapperDelegate() = default;
};

}  // namespace quorvel_service
