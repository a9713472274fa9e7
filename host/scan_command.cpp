#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <plenar_base/timer.h>
#include <qvs_windows_ble/client.h>

#include "host/commands.h"
#include "host/describe.h"
#include "host/device_list.h"
#include "host/output.h"
#include "host/session.h"
#include "host/terminal.h"

namespace qvs_host {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// The service's scan mode whose reports come periodically even when they are not to be continuous.
constexpr std::uint32_t kReportingMode = 2;

/// A table on a terminal, drawn again and again in the same place, below the lines that are said.
class LiveTable {
 public:
  LiveTable() = default;
  LiveTable(const LiveTable&) = delete;
  LiveTable& operator=(const LiveTable&) = delete;

  void Draw(std::vector<std::string> lines) {
    std::string text = Erase();
    lines_ = std::move(lines);
    for (const std::string& line : lines_) text += line + '\n';
    Write(kNoWrap + text + kWrap);
  }

  void Say(const std::string& words) {
    Write(Erase() + words + '\n');
    Draw(std::exchange(lines_, {}));
  }

 private:
  // What is too wide for the terminal is cut, and the cursor does not show meanwhile.
  static inline const std::string kNoWrap = "\x1B[?25l\x1B[?7l";
  static inline const std::string kWrap = "\x1B[?7h\x1B[?25h";

  [[nodiscard]] std::string Erase() const {
    return lines_.empty() ? "" : "\x1B[" + std::to_string(lines_.size()) + "A\r\x1B[J";
  }

  std::vector<std::string> lines_;
};

void TellDevices(Session& session, const std::string& uuid,
                 const std::vector<ble::Device>& devices) {
  for (const ble::Device& device : devices) {
    nlohmann::ordered_json fields = {{"event", "device_json"}, {"uuid", uuid}};
    if (device.data) fields.update(DataFields(*device.data));
    fields.update(device.record);
    session.Tell(fields, "");
  }
}

}  // namespace

void Scan(const Options& options) {
  Session session(options);
  const milliseconds interval(options.interval_ms);
  DeviceList list(std::max<milliseconds>(seconds(5), 3 * interval));
  const bool is_live = !options.json && OutputTerminal();
  LiveTable table;
  const auto show = [&](const std::vector<std::string>& changes) {
    const auto size = OutputTerminal();
    if (is_live && size) return table.Draw(list.Table(options.uuid, *size, Clock::now()));
    for (const std::string& change : changes) session.say(change);
  };
  session.Client().on_devices = session.Guarded([&](const std::vector<ble::Device>& devices) {
    if (options.json) return TellDevices(session, options.uuid, devices);
    show(list.Update(devices, Clock::now()));
  });

  const auto start = [&] {
    return session.Client().StartWatch(
        options.uuid,
        {.mode = options.mode, .continuous = !options.on_request, .interval = interval});
  };
  if (!session.Start(start)) return;
  // A scan ends when the radio goes, without an event of its own.
  session.on_usable = [&] {
    const ble::Result result = start();
    if (result != ble::Result::kSuccess) throw session.Failure(result);
  };
  session.Tell({{"event", "scan"}, {"uuid", options.uuid}, {"mode", options.mode}},
               (is_live ? "" : "looking for " + options.uuid + "; ") + "Ctrl-C ends");
  if (is_live) {
    session.say = [&table](const std::string& words) { table.Say(words); };
    show({});
  }

  // Where the service does not report by itself, it is asked.
  const auto asking = base::threading::CreateTimer(
      [&session] { session.Client().RequestDevices(); }, {__FILE__, __LINE__});
  if (options.on_request && options.mode != kReportingMode) {
    asking->Start(static_cast<std::uint64_t>(interval.count()), /*repeat=*/true);
  }
  const auto looking = base::threading::CreateTimer(
      session.Guarded([&] { show(list.FindLost(Clock::now())); }), {__FILE__, __LINE__});
  if (!options.json) looking->Start(1'000, /*repeat=*/true);
  session.Run();
  if (!options.json) PrintLine(list.Summary(Clock::now()));
}

}  // namespace qvs_host
