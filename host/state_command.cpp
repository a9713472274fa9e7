#include "host/commands.h"
#include "host/output.h"
#include "host/result_text.h"
#include "host/service_names.h"
#include "host/session.h"

namespace qvs_host {

void ShowState(const StateOptions& options) {
  Session session([](std::uint64_t, const base::variant::Variant&) {});
  base::variant::Variant arguments;
  arguments.Set("need_check_discoverable", base::variant::Variant(options.need_discoverable));
  session.Call(ble::method::kCheckBleState, arguments);
  PrintLine(StateText(ble::result::kSuccess));
}

}  // namespace qvs_host
