#include <array>
#include <string>
#include <string_view>

#include <plenar_ble_api/ble_api.h>
#include <nlohmann/json.hpp>

#include "host/commands.h"
#include "host/output.h"
#include "host/service_names.h"
#include "host/session.h"

namespace qvs_host {
namespace {

using base::variant::Variant;

/// By `BlePublisherStatus`.
constexpr std::array<std::string_view, 5> kStatusTexts = {"", "starting", "advertising", "stopping",
                                                          "stopped"};

std::string DescribeStatus(const std::string& status_info) {
  const auto json = nlohmann::json::parse(status_info);
  const auto status = json.at("status").get<std::size_t>();
  const auto error = json.at("err").get<std::int32_t>();
  std::string text = status < kStatusTexts.size() ? std::string(kStatusTexts[status])
                                                  : "status " + std::to_string(status);
  if (error == static_cast<std::int32_t>(BleError::kPublisherInUse)) {
    text += ": the radio's publisher is in use";
  } else if (error != 0) {
    text += ": error " + std::to_string(error);
  }
  return text;
}

}  // namespace

void Advertise(const AdvertiseOptions& options) {
  Session session([](std::uint64_t event, const Variant& value) {
    if (event == ble::event::kStatusInfo) PrintLine(DescribeStatus(value.AsStr()));
  });

  Variant arguments;
  arguments.Set("start", Variant(true));
  arguments.Set("uuid", Variant(options.uuid));
  arguments.Set("custom_data", Variant(options.custom_data));
  session.Call(ble::method::kStartBroadcast, arguments);
  session.Run(options.duration);
}

}  // namespace qvs_host
