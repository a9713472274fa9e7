#pragma once

#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>

#include <cstdint>
#include <functional>

#include "framework/service.h"
#include "host/library.h"

namespace qvs_host {

/// The module, held loaded. Main looper thread only; the looper outlives it, and every service made
/// from it is destroyed before it.
class Module {
 public:
  /// Loads the module that stands beside the program. Throws `HostError`.
  explicit Module(base::threading::MainLooperScope& looper);

  /// Lets the looper run once, since what the module has posted must not outlive its code, and
  /// unloads the module.
  ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

 private:
  friend class Service;

  base::threading::MainLooperScope& looper_;
  Library library_;
  quorvel_service::QVCreateServiceFunction* create_;
  quorvel_service::QVDestroyServiceFunction* destroy_;
};

/// The module's Bluetooth LE service. [main looper]
class Service final : private quorvel_service::IServiceListener {
 public:
  /// Receives the service's events: the id and the value. It may throw; the service goes on.
  using EventHandler =
      std::function<void(std::uint64_t event, const base::variant::Variant& value)>;

  /// Throws `HostError` when the module makes no service.
  Service(Module& module, EventHandler on_event);
  ~Service() override;

  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  /// Calls a method and gives its result code.
  [[nodiscard]] std::int32_t Call(std::uint64_t method,
                                  const base::variant::Variant& arguments = {});

 private:
  void OnServiceEvent(std::uint64_t event,
                      const std::shared_ptr<base::variant::Variant>& payload) override;

  Module& module_;
  EventHandler on_event_;
  quorvel_service::IService* service_;
};

}  // namespace qvs_host
