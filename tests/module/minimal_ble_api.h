#pragma once

#include <shared_mutex>

#include <plenar_ble_api/ble_api.h>

/// The least that passes as a BLE API library: every call succeeds and does nothing, and whoever
/// has it loaded may invoke the callables that it was given, on any thread, while holding the mutex
/// shared.
struct MinimalBleApi {
  std::shared_mutex mutex;
  BleReceivedBroadcastCB received;
  BleStoppedWatchBroadcastCB stopped;
  BleStatusChangedCB status_changed;
};

/// The type of its 18th export, `MinimalBleApiState`.
using MinimalBleApiStateFunction = MinimalBleApi*();
