#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <plenar_base/log_sink.h>

#include "framework/service.h"

namespace qvs_test {

using Lines = std::vector<std::string>;

/// What a recorded line tells of, and how it reads.
enum Kind : unsigned {
  kCall = 1,         ///< "call Init", "ret 0": a method, and later its result code.
  kEvent = 2,        ///< "state 4", "status_info {"status":2,"err":0}"
  kLog = 4,          ///< "3 Init: ble init failed, ret: 5": level, function, message.
  kBle = 8,          ///< "ble BleClientSetScanMode(mode=1)": a call of the BLE API library.
  kWindows = 16,     ///< "win CreateWindowExA(...)": a Windows call; handles read "*".
  kLibraryLog = 32,  ///< As `kLog`, with the origin's tag in front.
  kPlace = 64,       ///< "at file.cpp:12": where the log line that follows comes from.
  kNote = 128,       ///< "> the radio is on": what the test does besides.
  kUsual = kCall | kEvent | kLog | kBle,
};

/// Everything that a test sees of the module, merged in the order in which it happened. Lines may
/// be added on any thread.
class Recorder {
 public:
  void Add(Kind kind, std::string text);

  /// While false, nothing is recorded.
  std::atomic<bool> is_on = true;

  /// The lines of these kinds; all lines are forgotten.
  Lines Take(unsigned kinds = kUsual);

 private:
  std::mutex mutex_;
  std::vector<std::pair<Kind, std::string>> entries_;
};

class RecordingSink final : public base::log::LogSink {
 public:
  explicit RecordingSink(Recorder& recorder) : recorder_(recorder) {}
  void Write(const base::log::LogRecord& record) override;

 private:
  Recorder& recorder_;
};

/// Records events, with its name in front if it has one, and then does what the test wants.
class RecordingListener final : public quorvel_service::IServiceListener {
 public:
  explicit RecordingListener(Recorder& recorder, std::string name = {})
      : recorder_(recorder), name_(std::move(name)) {}

  void OnServiceEvent(std::uint64_t event_id,
                      const std::shared_ptr<base::variant::Variant>& payload) override;

  std::function<void(std::uint64_t event_id)> on_event;
  const base::variant::Variant* last_payload = nullptr;  ///< To be told from others only.

 private:
  Recorder& recorder_;
  std::string name_;
};

}  // namespace qvs_test
