#include "simulated_bluetooth/simulated_bluetooth.h"
#include "tests/plenar_ble_api/radio_under_test.h"

std::optional<RadioUnderTest> SystemRadioUnderTest() {
  return RadioUnderTest{"System", plenar_ble_control::RadioKind::kSystem, [](const BleApi&) {
                          simulated_bluetooth::Install();
                          const simulated_bluetooth::Locked state;
                          state->air[0].rssi = -50;
                        }};
}
