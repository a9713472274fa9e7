#pragma once

#include <optional>
#include <ostream>

#include "tests/plenar_ble_api/ble_api.h"

/// A radio, and how devices come near that it hears all the time.
struct RadioUnderTest {
  const char* name;
  plenar_ble_control::RadioKind kind;
  void (*surround)(const BleApi& api);

  friend void PrintTo(const RadioUnderTest& radio, std::ostream* out) { *out << radio.name; }
};

/// The system's; none where the library has none.
std::optional<RadioUnderTest> SystemRadioUnderTest();
