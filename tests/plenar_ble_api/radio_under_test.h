#pragma once

#include <optional>
#include <ostream>

#include <gtest/gtest.h>

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

// Steps of what a user does.
inline void Start(const BleApi& api) {
  EXPECT_EQ(api.Advertise("data"), 0);
}
inline void Stop(const BleApi& api) {
  api.BleServerStopBroadcast();
}
inline void Watch(const BleApi& api) {
  EXPECT_EQ(api.BleClientStartWatchBroadcast(), 0);
}
inline void Unwatch(const BleApi& api) {
  api.BleClientStopWatchBroadcast();
}
