#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

/// The built library, loaded as a host's module loads it.
class BleApi {
 public:
  static constexpr char kFile[] = "plenar_ble_api.dll";

  BleApi() = default;
  BleApi(const BleApi&) = delete;
  BleApi& operator=(const BleApi&) = delete;
  ~BleApi() { FreeLibrary(module_); }

 private:
  template <class Function>
  [[nodiscard]] Function* Get(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module_, name)));
  }

  HMODULE module_ = LoadLibraryA(kFile);

 public:
#define BLE_API_FUNCTION(name) decltype(::name)* const name = Get<decltype(::name)>(#name)
  BLE_API_FUNCTION(BleInit);
  BLE_API_FUNCTION(BleUnInit);
  BLE_API_FUNCTION(BleSetLogFunc);
  BLE_API_FUNCTION(BleCheckState);
  BLE_API_FUNCTION(BleClientSetScanMode);
  BLE_API_FUNCTION(BleClientSetServiceUuidFilter);
  BLE_API_FUNCTION(BleClientSetManufacturerDataFilter);
  BLE_API_FUNCTION(BleClientSetSignalStrengthFilter);
  BLE_API_FUNCTION(BleClientSetReceivedBroadcastCB);
  BLE_API_FUNCTION(BleClientSetStoppedWatchBroadcastCB);
  BLE_API_FUNCTION(BleClientStartWatchBroadcast);
  BLE_API_FUNCTION(BleClientStopWatchBroadcast);
  BLE_API_FUNCTION(BleServerAddManufacturerData);
  BLE_API_FUNCTION(BleServerAddDataSection);
  BLE_API_FUNCTION(BleServerSetStatusChangedCB);
  BLE_API_FUNCTION(BleServerStartBroadcast);
  BLE_API_FUNCTION(BleServerStopBroadcast);
#undef BLE_API_FUNCTION
  plenar_ble_control::VirtualRadio& control =
      *Get<plenar_ble_control::PlenarBleControlFunction>(plenar_ble_control::kControlExport)();

  /// Advertises `text` as company 0x7E51's data. The result of the start.
  [[nodiscard]] int Advertise(const std::string& text) const {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    BleServerAddManufacturerData(0x7E51, bytes, text.size());
    return BleServerStartBroadcast();
  }
};

/// What happened, in order: each note with "; " after it. Any thread.
class Journal {
 public:
  void Note(const std::string& note) {
    const std::scoped_lock lock(mutex_);
    text_ += note + "; ";
    noted_.notify_all();
  }

  /// Whether `note` is noted, sooner or later.
  bool WaitFor(const std::string& note) {
    std::unique_lock lock(mutex_);
    return noted_.wait_for(lock, std::chrono::seconds(30),
                           [&] { return text_.find(note + "; ") != std::string::npos; });
  }

  /// What was noted since the last call, once it ends with `end` or nothing came for long.
  std::string Take(const std::string& end = {}) {
    std::unique_lock lock(mutex_);
    noted_.wait_for(lock, std::chrono::seconds(30), [&] { return text_.ends_with(end); });
    return std::exchange(text_, {});
  }

 private:
  std::mutex mutex_;
  std::condition_variable noted_;
  std::string text_;
};
