#include <windows.h>

#include <cstddef>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "radio/library_thread.h"
#include "radio/radio.h"
#include "system/adapter.h"
#include "system/publisher.h"
#include "system/watcher.h"

namespace plenar_ble {
namespace {

using namespace std::chrono_literals;

/// How long `BleCheckState` waits for the adapter's answer.
constexpr auto kLongestCheck = 200ms;

/// How long the end of the radio waits for handlers that the system still holds.
constexpr auto kLongestFarewell = 1s;

/// The largest item of manufacturer data: its length byte counts the type and the company too.
constexpr std::size_t kLongestItem = 252;

/// What lives from `Init` to `UnInit`. The publisher and the watcher are the task thread's.
struct Session {
  explicit Session(Callables& callables) : adapter(callables), publisher(callables, adapter, tasks), watcher(callables, adapter, tasks) {}

  std::shared_ptr<TaskQueue> tasks = std::make_shared<TaskQueue>();
  Adapter adapter;
  SystemPublisher publisher;
  SystemWatcher watcher;
};

/// The radio over the system's Bluetooth classes.
///
/// Everything that is asked of it, and every event of the system's, becomes a task of one thread:
/// the radio's state is that thread's alone, and callables run there in the order of what they
/// report. Calls of the user never wait for the system, but `CheckState` for a bounded time.
class SystemRadioImpl final : public Radio {
 public:
  int Init(std::uintptr_t) override;
  void UnInit() override { TakeDown(true); }
  BleError CheckState() override;
  void SetLog(BleLogFunc log) override { callables_.log.Set(std::move(log)); }

  void SetScanMode(int mode) override;
  void SetReceived(BleReceivedBroadcastCB callback) override {
    callables_.received.Set(std::move(callback));
  }
  void SetStopped(BleStoppedWatchBroadcastCB callback) override {
    callables_.stopped.Set(std::move(callback));
  }
  int StartWatch() override;
  void StopWatch() override;

  int SetManufacturerData(std::uint16_t company, std::span<const std::uint8_t> data) override;
  void SetStatusChanged(BleStatusChangedCB callback) override {
    callables_.status_changed.Set(std::move(callback));
  }
  int StartBroadcast() override;
  void StopBroadcast() override;

  void Clear() override;

 private:
