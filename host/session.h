#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>

#include "host/module.h"
#include "host/terminal.h"

namespace qvs_host {

/// The service in real time: a main looper with the module's service on it, until Ctrl-C. All
/// operations are for the thread that made it.
class Session {
 public:
  /// Throws `HostError` when the module cannot be used. What `on_event` throws ends the session.
  explicit Session(Service::EventHandler on_event);

  /// Calls a method; throws `HostError`, with the result code in words, unless it succeeds.
  void Call(std::uint64_t method, const base::variant::Variant& arguments);

  /// Runs until Ctrl-C or, if a time is given, until it is over. Throws what `on_event` threw.
  void Run(std::optional<std::chrono::seconds> duration);

 private:
  void OnEvent(std::uint64_t event, const base::variant::Variant& value);

  base::threading::MainLooperScope looper_;
  InterruptWatch interrupts_;
  Service::EventHandler on_event_;
  std::exception_ptr failure_;
  Module module_;
  Service service_;
};

}  // namespace qvs_host
