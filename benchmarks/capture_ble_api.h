#pragma once

#include <plenar_ble_api/ble_api.h>

namespace qvs_bench {

/// The callables that the module gave to the library, to be called without a thread hop.
struct Captured {
  BleReceivedBroadcastCB received;
};

using CapturedFunction = Captured*();
inline constexpr char kCapturedExport[] = "CapturedCallables";

}  // namespace qvs_bench
