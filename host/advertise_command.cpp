#include "host/commands.h"

#include <string>

#include <qvs_windows_ble/client.h>
#include "host/describe.h"
#include "host/output.h"
#include "host/session.h"

namespace qvs_host {

void Advertise(const Options& options) {
  using Status = ble::PublisherStatus;
  Session session(options);
  Status now = {Status::kStarting, 0};
  bool ended = false;
  session.on_status = [&](const Status& status) {
    now = status;
    ended = status.status == Status::kStopped;
  };

  const auto start = [&] { return session.Client().StartBroadcast(options.uuid, options.data); };
  if (!session.Start(start)) return;
  nlohmann::ordered_json fields = {{"event", "advertise"}, {"uuid", options.uuid}};
  fields.update(DataFields(options.data));
  session.Tell(fields, "sending " + options.uuid + ",\n" + std::to_string(options.data.size()) +
                           " of 12 bytes: " + BytesOrText(options.data) + "; Ctrl-C ends");
  session.Run([&] { return ended; });
  if (ended) throw HostError("the radio has " + Describe(now));

  // A publisher that is starting does not hear of a stop.
  session.Finish([&] { return now.status != Status::kStarting; });
  session.Client().StopBroadcast();
  session.Finish([&] { return ended; });
}

}  // namespace qvs_host
