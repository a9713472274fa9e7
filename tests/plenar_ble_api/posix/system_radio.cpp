#include "tests/plenar_ble_api/radio_under_test.h"

std::optional<RadioUnderTest> SystemRadioUnderTest() {
  return std::nullopt;
}
