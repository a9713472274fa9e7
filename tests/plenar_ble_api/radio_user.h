#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include <plenar_ble_api/ble_api.h>

/// What happened, in order: each note with "; " after it. Any thread.
class Journal {
 public:
  void Note(const std::string& note) {
    const std::scoped_lock lock(mutex_);
    text_ += note + "; ";
    noted_.notify_all();
  }

  /// What was noted since the last call.
  std::string Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(text_, {});
  }

  /// Whether `note` is noted, sooner or later.
  bool WaitFor(const std::string& note) {
    std::unique_lock lock(mutex_);
    return noted_.wait_for(lock, std::chrono::seconds(30),
                           [&] { return text_.find(note + "; ") != std::string::npos; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable noted_;
  std::string text_;
};

/// Advertises `text` as company 0x7E51's data. The result of the start.
inline int Advertise(const std::string& text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  BleServerAddManufacturerData(0x7E51, bytes, text.size());
  return BleServerStartBroadcast();
}

/// What another one advertises so, with the name of its radio.
inline std::string TextOf(const BleBroadcastInfo& info) {
  const auto data = info.manufacturer_data.find(0x7E51);
  return data == info.manufacturer_data.end()
             ? ""
             : std::string(data->second.begin(), data->second.end());
}
