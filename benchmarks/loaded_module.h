#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>

#include "benchmarks/capture_ble_api.h"
#include "framework/service.h"

namespace qvs_bench {

inline constexpr char kUuid[] = "12345678-9ABC-DEF0-1234-56789ABCDEF0";

/// The built module in a host's process, with a service that is up over a library that only keeps
/// callables. Made on the main thread at first use and kept: the module is loaded once.
class LoadedModule {
 public:
  static LoadedModule& Get();

  base::threading::MainLooperScope& looper() { return looper_; }
  const Captured& captured() const { return *captured_; }

  /// Calls a method and gives its result.
  std::int32_t Call(std::uint64_t method, const std::shared_ptr<base::variant::Variant>& arguments);

  /// Watches `kUuid`. In mode 1 a report asked for holds everything heard, and the cache stays.
  void Scan(unsigned scan_mode, bool continuous);

  /// Length of the text of the last "device_json"; 0 before the first.
  [[nodiscard]] std::size_t LastReportSize() const;

 private:
  LoadedModule();

  base::threading::MainLooperScope looper_;
  quorvel_service::IService* service_;
  Captured* captured_;
};

/// A broadcast of the product: its manufacturer data begins with the watched UUID.
[[nodiscard]] BleBroadcastInfo WatchedBroadcast(std::size_t device);

}  // namespace qvs_bench
