#pragma once

#include <string>

#include <gtest/gtest.h>

#include "tests/plenar_ble_api/ble_library.h"
#include "tests/plenar_ble_api/journal.h"

/// The library initialised in manual time, which starts at 1000 ms, on the in-process air, with
/// callables that note each report and when it came: "1020 status 1 error 0".
class BleLibraryTest : public testing::Test {
 protected:
  BleLibraryTest();
  ~BleLibraryTest() override { ble.UnInit(); }

  /// Steps from deadline to deadline until `now`, as simulated time does.
  void AdvanceTo(std::uint64_t now);

  static BleBroadcastInfo Device(const std::string& address);

  std::uint64_t now_ms = 1000;
  Journal journal;
  BleLibrary ble;
};
