#include <memory>
#include <string>

#include <plenar_base/time_source.h>
#include <plenar_base/timer.h>

#include "host/byte_text.h"
#include "host/commands.h"
#include "host/device_record.h"
#include "host/output.h"
#include "host/service_names.h"
#include "host/session.h"

namespace qvs_host {
namespace {

using base::variant::Variant;

/// The service's scan mode whose reports come periodically even when they are not to be continuous.
constexpr std::uint32_t kReportingMode = 2;

/// Prints the devices of a report, a line each.
class DevicePrinter {
 public:
  explicit DevicePrinter(const ScanOptions& options)
      : json_(options.json), uuid_bytes_(UuidToBytes(options.uuid).value()) {}

  void Print(const std::string& device_json) const {
    if (json_) {
      for (const std::string& line : CompactDeviceJson(device_json)) PrintLine(line);
      return;
    }
    for (const DeviceRecord& device : ParseDevices(device_json)) {
      PrintLine(DescribeDevice(device, uuid_bytes_));
    }
  }

 private:
  bool json_;
  std::string uuid_bytes_;
};

}  // namespace

void Scan(const ScanOptions& options) {
  const DevicePrinter printer(options);
  Session session([&printer](std::uint64_t event, const Variant& value) {
    if (event == ble::event::kDeviceJson) printer.Print(value.AsStr());
  });

  const auto interval = static_cast<std::uint64_t>(options.interval.count());
  Variant arguments;
  arguments.Set("start", Variant(true));
  arguments.Set("uuid", Variant(options.uuid));
  arguments.Set("scan_mode", Variant(options.mode));
  arguments.Set("continue_callback_enable", Variant(options.continuous));
  arguments.Set("broadcast_cb_interval", Variant(interval));
  session.Call(ble::method::kStartWatchBroadcast, arguments);

  // Where the service does not report by itself, it is asked.
  const auto asking = base::threading::CreateTimer(
      [&session] { session.Call(ble::method::kGetBleScanCache, {}); }, {__FILE__, __LINE__});
  if (!options.continuous && options.mode != kReportingMode) asking->Start(interval, true);
  session.Run(options.duration);
}

}  // namespace qvs_host
