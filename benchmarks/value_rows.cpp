// The base library's texts by themselves: styled JSON of 30 devices, and Base64.

#include <string>
#include <vector>

#include <json/value.h>
#include <json/writer.h>
#include <openssl/evp.h>
#include <plenar_base/crypto.h>
#include <plenar_base/json.h>
#include <nlohmann/json.hpp>

#include "benchmarks/harness.h"
#include "benchmarks/loaded_module.h"

namespace qvs_bench {
namespace {

constexpr std::size_t kDevices = 30;
const std::string kData(28, 'D');  // as long as an advertisement's may be

std::string OursBase64(const std::string& data) {
  return util::crypto::Encode64(data.data(), data.size());
}

/// https://docs.openssl.org/3.0/man3/EVP_EncodeInit/: a block at once, with a NUL behind it.
std::string OpenSslBase64(const std::string& data) {
  std::string text((data.size() + 2) / 3 * 4, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                  reinterpret_cast<const unsigned char*>(data.data()),
                  static_cast<int>(data.size()));
  return text;
}

std::string OursJson(const std::vector<BleBroadcastInfo>& devices) {
  using base::json::JsonValue;
  JsonValue all(base::json::JsonType::kArray);
  for (const BleBroadcastInfo& info : devices) {
    JsonValue data(base::json::JsonType::kArray);
    data.AddaJsonObject(JsonValue(OursBase64(kData)));
    JsonValue device;
    device.SetJsonObject("device_id", JsonValue(info.address));
    device.SetJsonObject("connectable", JsonValue(info.connectable));
    device.SetJsonObject("local_name", JsonValue(info.local_name));
    device.SetJsonObject("rssi", JsonValue(info.rssi));
    device.SetJsonObject("advertise_data", data);
    all.AddaJsonObject(device);
  }
  return all.ToStyledString(nullptr);
}

/// https://json.nlohmann.me/api/basic_json/dump/: checks and mends UTF-8, as ours does.
std::string NlohmannJson(const std::vector<BleBroadcastInfo>& devices) {
  using Json = nlohmann::ordered_json;
  Json all = Json::array();
  for (const BleBroadcastInfo& info : devices) {
    all.push_back({{"device_id", info.address},
                   {"connectable", info.connectable},
                   {"local_name", info.local_name},
                   {"rssi", info.rssi},
                   {"advertise_data", Json::array({OpenSslBase64(kData)})}});
  }
  return all.dump(4, ' ', false, Json::error_handler_t::replace);
}

/// https://open-source-parsers.github.io/jsoncpp-docs/doxygen/class_json_1_1_stream_writer_builder.html
std::string JsonCppJson(const std::vector<BleBroadcastInfo>& devices) {
  Json::Value all(Json::arrayValue);
  for (const BleBroadcastInfo& info : devices) {
    Json::Value& device = all.append(Json::objectValue);
    device["device_id"] = info.address;
    device["connectable"] = info.connectable;
    device["local_name"] = info.local_name;
    device["rssi"] = info.rssi;
    device["advertise_data"].append(OpenSslBase64(kData));
  }
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "    ";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, all);
}

template <std::string (*Encode)(const std::string& data)>
void Base64(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Encode(kData));
}

template <std::string (*Write)(const std::vector<BleBroadcastInfo>& devices)>
void Json(benchmark::State& state) {
  std::vector<BleBroadcastInfo> devices;
  for (std::size_t i = 0; i < kDevices; ++i) devices.push_back(WatchedBroadcast(i));
  for (auto _ : state) benchmark::DoNotOptimize(Write(devices));
  PerItem(state, kDevices);
}

const Registered kRows = {
    {"3 styled JSON by the base library, for each device",
     1.0,
     {{"ours", &Json<&OursJson>},
      {"nlohmann", &Json<&NlohmannJson>},
      {"JsonCpp", &Json<&JsonCppJson>}}},
    {"9 Base64 of 28 bytes",
     1.0,
     {{"ours", &Base64<&OursBase64>}, {"OpenSSL EVP_EncodeBlock", &Base64<&OpenSslBase64>}}},
};

}  // namespace
}  // namespace qvs_bench
