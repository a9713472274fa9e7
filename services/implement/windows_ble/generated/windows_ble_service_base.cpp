#include "services/implement/windows_ble/generated/windows_ble_service_base.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <plenar_base/future.h>
#include <plenar_base/variant.h>

#include "framework/guard.h"
#include "framework/log_writer.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace quorvel_service {
namespace {

using base::future::VariantFuture;
using base::variant::Variant;
using Service = WindowsBleServiceBase;

/// Where results of unknown methods, and the log line about them, say that they come from.
constexpr int kUnknownMethodLine = 30;

struct Method {
  std::uint64_t id;
  int line;  // fixed source line of the result's location
  std::int32_t (*call)(Service& service, const Variant& arguments);
};

constexpr Method kMethods[] = {
    {windows_ble::method::kInit, 40,
     [](Service& service, const Variant& arguments) {
       return service.Init(arguments.Get("retry_time").AsInt32());
     }},
    {windows_ble::method::kUnInit, 50,
     [](Service& service, const Variant&) { return service.UnInit(); }},
    {windows_ble::method::kCheckBleState, 61,
     [](Service& service, const Variant& arguments) {
       return service.CheckBleState(arguments.Get("need_check_discoverable").AsBoolean());
     }},
    {windows_ble::method::kStartWatchBroadcast, 76,
     [](Service& service, const Variant& arguments) {
       const bool start = arguments.Get("start").AsBoolean();
       const std::string& uuid = arguments.Get("uuid").AsStr();
       const std::uint32_t scan_mode = arguments.Get("scan_mode").AsUint32();
       const bool enable = arguments.Get("continue_callback_enable").AsBoolean();
       const std::uint64_t interval = arguments.Get("broadcast_cb_interval").AsUint64();
       return service.StartWatchBroadcast(start, uuid, scan_mode, enable, interval);
     }},
    {windows_ble::method::kStartBroadcast, 89,
     [](Service& service, const Variant& arguments) {
       const bool start = arguments.Get("start").AsBoolean();
       const std::string& uuid = arguments.Get("uuid").AsStr();
       const std::string& custom_data = arguments.Get("custom_data").AsStr();
       return service.StartBroadcast(start, uuid, custom_data);
     }},
    {windows_ble::method::kGetBleScanCache, 99,
     [](Service& service, const Variant&) { return service.GetBleScanCache(); }},
};

std::int32_t CallMethod(const Method& method, Service& service, const Variant& arguments) noexcept {
  try {
    return method.call(service, arguments);
  } catch (...) {
    QV_LOG_FAILURE();
    return windows_ble::result::kLibraryFailure;
  }
}

std::shared_ptr<VariantFuture> Completed(std::shared_ptr<Variant> value, int line) {
  auto future = std::make_shared<VariantFuture>();
  future->SetValue(std::move(value), 0, {__FILE__, line});
  return future;
}

template <class Value>
void Notify(ServiceBase& service, std::uint64_t event_id, const char* name, const Value& value) {
  Swallow([&] {
    const auto payload = std::make_shared<Variant>();
    payload->Set(name, Variant(value));
    service.NotifyEvent(event_id, payload);
  });
}

}  // namespace

void WindowsBleServiceNotifier::NotifyState(std::int32_t state) noexcept {
  Notify(*service_, windows_ble::event::kState, "state", state);
}

void WindowsBleServiceNotifier::NotifyStatusInfo(const std::string& status_info) noexcept {
  Notify(*service_, windows_ble::event::kStatusInfo, "status_info", status_info);
}

void WindowsBleServiceNotifier::NotifyRetryInfo(const std::string& retry_info) noexcept {
  Notify(*service_, windows_ble::event::kRetryInfo, "retry_info", retry_info);
}

void WindowsBleServiceNotifier::NotifyDeviceJson(const std::string& device_json) noexcept {
  Notify(*service_, windows_ble::event::kDeviceJson, "device_json", device_json);
}

std::string WindowsBleServiceBase::ServiceName() {
  return windows_ble::kServiceName;
}

std::shared_ptr<VariantFuture> WindowsBleServiceBase::Call(
    std::uint64_t method_id, const std::shared_ptr<Variant>& arguments) {
  try {
    const auto* const method = std::find_if(std::begin(kMethods), std::end(kMethods),
                                            [&](const Method& m) { return m.id == method_id; });
    if (method == std::end(kMethods)) {
      QV_LOG_AT(kFatal, "Call", kUnknownMethodLine) << "method id:" << method_id << "not found!";
      return Completed(std::make_shared<Variant>(), kUnknownMethodLine);
    }
    // Held here: an event raised inside the operation may make the host drop its own pointer.
    const auto held = arguments;  // NOLINT(performance-unnecessary-copy-initialization)
    const Variant none;
    const std::int32_t ret = CallMethod(*method, *this, held ? *held : none);
    auto result = std::make_shared<Variant>();
    result->Set("ret", Variant(ret));
    return Completed(std::move(result), method->line);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace quorvel_service
