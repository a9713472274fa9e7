#include "host/device_record.h"

#include <nlohmann/json.hpp>

#include "host/byte_text.h"
#include "host/host_error.h"

namespace qvs_host {
namespace {

using Json = nlohmann::ordered_json;

Json Parse(const std::string& text) {
  Json json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) throw HostError("the module sent a text that is not JSON");
  return json;
}

std::string ToLine(const Json& json) {
  return json.dump(-1, ' ', /*ensure_ascii=*/true);
}

std::vector<std::string> DecodeAll(const Json& texts) {
  std::vector<std::string> decoded;
  for (const Json& text : texts) {
    auto bytes = Base64ToBytes(text.get<std::string>());
    if (!bytes) throw HostError("the module sent a text that is not Base64");
    decoded.push_back(*std::move(bytes));
  }
  return decoded;
}

DeviceRecord ToRecord(const Json& json) {
  return {.device_id = json.at("device_id").get<std::string>(),
          .local_name = json.at("local_name").get<std::string>(),
          .rssi = json.at("rssi").get<int>(),
          .connectable = json.at("connectable").get<bool>(),
          .advertise_data = DecodeAll(json.at("advertise_data")),
          .uuids = DecodeAll(json.at("uuids"))};
}

}  // namespace

std::vector<DeviceRecord> ParseDevices(const std::string& device_json) {
  std::vector<DeviceRecord> devices;
  try {
    for (const Json& device : Parse(device_json)) devices.push_back(ToRecord(device));
  } catch (const Json::exception& error) {
    throw HostError(std::string("the module sent an unexpected device record: ") + error.what());
  }
  return devices;
}

std::vector<std::string> CompactDeviceJson(const std::string& device_json) {
  std::vector<std::string> lines;
  for (const Json& device : Parse(device_json)) lines.push_back(ToLine(device));
  return lines;
}

std::string CompactJson(const std::string& json) {
  return ToLine(Parse(json));
}

std::string DescribeDevice(const DeviceRecord& device, std::string_view uuid_bytes) {
  std::string line = device.device_id + "  " + std::to_string(device.rssi) + " dBm";
  if (!device.local_name.empty()) line += "  " + ReadableBytes(device.local_name);
  for (const std::string& data : device.advertise_data) {
    if (data.starts_with(uuid_bytes)) {
      line += "  data " + ReadableBytes(data.substr(uuid_bytes.size()));
    }
  }
  for (const std::string& uuid : device.uuids) line += "  service " + uuid;
  if (device.connectable) line += "  connectable";
  return line;
}

}  // namespace qvs_host
