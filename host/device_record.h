#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qvs_host {

/// One device of the event "device_json".
struct DeviceRecord {
  std::string device_id;   ///< Its address.
  std::string local_name;  ///< UTF-8, possibly empty.
  int rssi = 0;            ///< dBm
  bool connectable = false;
  std::vector<std::string> advertise_data;  ///< The bytes of each manufacturer data item.
  std::vector<std::string> uuids;           ///< Service UUIDs as text.
};

/// The devices of the event's text. Throws `HostError` when it is not such a text.
[[nodiscard]] std::vector<DeviceRecord> ParseDevices(const std::string& device_json);

/// The same devices, each as one line of JSON in ASCII, as the module gave it.
[[nodiscard]] std::vector<std::string> CompactDeviceJson(const std::string& device_json);

/// A JSON text without its layout.
[[nodiscard]] std::string CompactJson(const std::string& json);

/// One line about a device. Of manufacturer data that begins with `uuid_bytes`, the custom data
/// that follows is shown.
[[nodiscard]] std::string DescribeDevice(const DeviceRecord& device, std::string_view uuid_bytes);

}  // namespace qvs_host
