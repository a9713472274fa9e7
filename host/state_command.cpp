#include "host/commands.h"

#include <string>

#include <qvs_windows_ble/client.h>
#include "host/describe.h"
#include "host/session.h"

namespace qvs_host {

void ShowState(const Options& options) {
  Session session(options);
  const ble::Result state =
      session.Try([&] { return session.Client().CheckState(options.discoverable); });
  const bool usable = state == ble::Result::kSuccess;
  if (usable || options.json) {
    session.Tell({{"event", "state"}, {"state", state}}, std::string(StateMeaning(state)));
  }
  if (!usable) throw session.Failure(state);
}

}  // namespace qvs_host
