#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include <plenar_base/variant.h>

#include "framework/service.h"

namespace quorvel_service {

/// Gives a service its listeners and the fan-out of events to them. [main looper]
///
/// A listener may, from inside an event, call the service, add and remove listeners, or destroy the
/// service: one that was added meanwhile is left out of that event, one that was removed is
/// skipped.
class ServiceBase : public IService {
 public:
  ServiceBase() = default;
  ServiceBase(const ServiceBase&) = delete;
  ServiceBase& operator=(const ServiceBase&) = delete;
  ~ServiceBase() override;

  void AddListener(IServiceListener* listener) override;
  void RemoveListener(IServiceListener* listener) override;
  void InitService() override {}
  void UnInitService() override {}

  /// Passes the same payload to every listener, in ascending order of address.
  void NotifyEvent(std::uint64_t event_id,
                   const std::shared_ptr<base::variant::Variant>& payload) override;

 private:
  using Listeners = std::set<IServiceListener*>;

  // Shared with an event under way, which outlives this object when a listener destroys it.
  std::shared_ptr<Listeners> listeners_ = std::make_shared<Listeners>();
};

}  // namespace quorvel_service
