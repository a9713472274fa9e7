// A second process on the loopback air: air_peer DATA ANSWER
//
// Advertises DATA, and ends with 0 once it has heard ANSWER.

#include <future>

#include "tests/plenar_ble_api/ble_api.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const BleApi api;
  api.control.SelectRadio(plenar_ble_control::RadioKind::kVirtual);
  std::promise<void> answer;
  api.BleClientSetReceivedBroadcastCB([&, heard = false](const BleBroadcastInfo& info) mutable {
    const auto& data = info.manufacturer_data.begin()->second;
    if (std::string(data.begin(), data.end()) == argv[2] && !std::exchange(heard, true)) {
      answer.set_value();
    }
  });
  const bool up = api.BleInit(0) == 0 && api.BleClientStartWatchBroadcast() == 0;
  const bool heard =
      up && api.Advertise(argv[1]) == 0 &&
      answer.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
  api.BleUnInit();
  return heard ? 0 : 1;
}
