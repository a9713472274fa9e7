#include "host/session.h"

#include <plenar_base/timer.h>

#include <utility>

#include "host/host_error.h"
#include "host/result_text.h"
#include "host/service_names.h"

namespace qvs_host {

Session::Session(Service::EventHandler on_event)
    : interrupts_([this] { looper_.Quit(); }),
      on_event_(std::move(on_event)),
      module_(looper_),
      service_(module_, [this](std::uint64_t event, const base::variant::Variant& value) {
        OnEvent(event, value);
      }) {}

void Session::Call(std::uint64_t method, const base::variant::Variant& arguments) {
  std::int32_t code = service_.Call(method, arguments);
  if (code == ble::result::kNotInitialised) {
    // The service was made all the same; another attempt tells why it is not up.
    code = service_.Call(ble::method::kInit);
    if (code == ble::result::kSuccess) code = service_.Call(method, arguments);
  }
  if (code != ble::result::kSuccess) throw HostError(ResultText(code));
}

void Session::Run(std::optional<std::chrono::seconds> duration) {
  const auto timer = base::threading::CreateTimer([this] { looper_.Quit(); }, {__FILE__, __LINE__});
  if (duration) {
    const std::chrono::milliseconds interval = *duration;
    timer->Start(static_cast<std::uint64_t>(interval.count()), /*repeat=*/false);
  }
  looper_.Run();
  if (failure_) std::rethrow_exception(failure_);
}

void Session::OnEvent(std::uint64_t event, const base::variant::Variant& value) {
  try {
    on_event_(event, value);
  } catch (...) {
    // The module swallows what a listener throws.
    failure_ = std::current_exception();
    looper_.Quit();
  }
}

}  // namespace qvs_host
