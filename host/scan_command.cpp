#include <plenar_base/timer.h>

#include "host/commands.h"
#include "host/describe.h"
#include "host/session.h"

namespace qvs_host {
namespace {

/// The service's scan mode whose reports come periodically even when they are not to be continuous.
constexpr std::uint32_t kReportingMode = 2;

}  // namespace

void Scan(const Options& options) {
  Session session(options);
  session.Client().on_devices = session.Guarded([&](const std::vector<ble::Device>& devices) {
    for (const ble::Device& device : devices) {
      nlohmann::ordered_json fields = {{"event", "device_json"}, {"uuid", options.uuid}};
      fields.update(device.record);
      session.Tell(fields, Describe(device));
    }
  });
  const std::chrono::milliseconds interval(options.interval_ms);
  const bool started = session.Start([&] {
    return session.Client().StartWatch(
        options.uuid,
        {.mode = options.mode, .continuous = !options.on_request, .interval = interval});
  });
  if (!started) return;

  // Where the service does not report by itself, it is asked.
  const auto asking = base::threading::CreateTimer([&] { session.Client().RequestDevices(); },
                                                   {__FILE__, __LINE__});
  if (options.on_request && options.mode != kReportingMode) {
    asking->Start(static_cast<std::uint64_t>(interval.count()), /*repeat=*/true);
  }
  session.Run();
}

}  // namespace qvs_host
