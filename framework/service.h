#pragma once

#include <cstdint>
#include <memory>

#include <plenar_base/future.h>
#include <plenar_base/variant.h>

/// The whole interface between a host and the module. The host loads the module, resolves
/// `QVCreateService` and `QVDestroyService` by name, and calls the services that it is given.
///
/// Everything here happens on the main looper thread, the unloading of the module too. Nothing that
/// the module made may outlive its code: a host that unloads it first gives back every service,
/// lets the main looper run once (tasks that the module posted) and lets go of every future, result
/// and payload.
namespace quorvel_service {

/// The host's receiver of events. Owned by the host, which removes it from the service before it
/// deletes it. The order of the virtual operations is part of the contract.
class IServiceListener {
 public:
  virtual ~IServiceListener() = default;

  /// One event. Called on the main looper thread, inside the report that causes it; a listener may
  /// call any method of the service. What it throws is swallowed. [main looper]
  virtual void OnServiceEvent(std::uint64_t event_id,
                              const std::shared_ptr<base::variant::Variant>& payload) = 0;
};

/// A service that the module made. All operations are for the main looper thread. The order of
/// the virtual operations is part of the contract.
class IService {
 public:
  virtual ~IService() = default;

  /// Adds a receiver of events, not owned; null and one that is already there change nothing.
  virtual void AddListener(IServiceListener* listener) = 0;
  virtual void RemoveListener(IServiceListener* listener) = 0;

  /// Calls a method. The returned future is already complete and holds an object with the
  /// method's result code under "ret", or an empty value for an unknown method. Null arguments
  /// count as an empty value. Null is returned only when memory ran out.
  virtual std::shared_ptr<base::future::VariantFuture> Call(
      std::uint64_t method_id, const std::shared_ptr<base::variant::Variant>& arguments) = 0;

  /// Run by `QVCreateService` and `QVDestroyService`, not by the host.
  virtual void InitService() = 0;
  virtual void UnInitService() = 0;

  /// Raises an event. For the service itself, not for the host.
  virtual void NotifyEvent(std::uint64_t event_id,
                           const std::shared_ptr<base::variant::Variant>& payload) = 0;
};

/// The types of the two exports. `QVCreateService` gives null for a null or unknown name; its
/// result goes back through `QVDestroyService`, which accepts null.
using QVCreateServiceFunction = IService*(const char* service_name);
using QVDestroyServiceFunction = void(IService* service);

}  // namespace quorvel_service
