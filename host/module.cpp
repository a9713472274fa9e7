#include "host/module.h"

#include <memory>
#include <utility>

#include "host/host_error.h"
#include "host/service_names.h"

namespace qvs_host {

Module::Module(base::threading::MainLooperScope& looper)
    : looper_(looper),
      library_(QVS_MODULE_FILE),
      create_(library_.Resolve<quorvel_service::QVCreateServiceFunction>("QVCreateService")),
      destroy_(library_.Resolve<quorvel_service::QVDestroyServiceFunction>("QVDestroyService")) {}

Module::~Module() {
  looper_.RunUntilIdle();
}

Service::Service(Module& module, EventHandler on_event)
    : module_(module), on_event_(std::move(on_event)), service_(module.create_(ble::kServiceName)) {
  if (service_ == nullptr) throw HostError("the module has no service for Bluetooth LE");
  service_->AddListener(this);
}

Service::~Service() {
  service_->RemoveListener(this);
  module_.destroy_(service_);
}

std::int32_t Service::Call(std::uint64_t method, const base::variant::Variant& arguments) {
  const auto future = service_->Call(method, std::make_shared<base::variant::Variant>(arguments));
  const auto result = future ? future->Value() : nullptr;
  if (!result || !result->Has("ret")) throw HostError("the module has no result for a call");
  return result->Get("ret").AsInt32();
}

void Service::OnServiceEvent(std::uint64_t event,
                             const std::shared_ptr<base::variant::Variant>& payload) {
  on_event_(event, payload->Get(NameOf(kEventNames, event)));
}

}  // namespace qvs_host
