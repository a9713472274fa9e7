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

/// How long the end of the radio waits for objects of ours that the system still holds.
constexpr auto kLongestFarewell = 1s;
constexpr auto kFarewellInterval = 5ms;

/// What lives from `Init` to `UnInit`. The publisher and the watcher are the task thread's.
struct Session {
  explicit Session(Callables& callables)
      : adapter(callables),
        publisher(callables, adapter, tasks),
        watcher(callables, adapter, tasks) {}

  /// Both threads end soon, the tasks' with this one.
  void Close(TaskQueue::Task last) {
    adapter.Close();
    tasks->Close(std::move(last));
  }

  std::shared_ptr<TaskQueue> tasks = std::make_shared<TaskQueue>();
  Adapter adapter;
  SystemPublisher publisher;
  SystemWatcher watcher;
};

/// The radio over the system's Bluetooth classes.
///
/// What is asked of it and what the system tells it become tasks of one thread. The state is that
/// thread's alone, and callables run there, in the order of what they report. No operation waits
/// for the system, but `CheckState` for a bounded time.
class WindowsRadio final : public Radio {
 public:
  static WindowsRadio& Instance();

  int Init(std::uintptr_t reserved) override;
  void UnInit() override { TakeDown(); }
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

  void Clear() override {
    callables_.status_changed.Set({});
    TakeDown();
    callables_.log.Set({});
  }

 private:
  WindowsRadio() = default;

  void TakeDown();
  void JoinThreads();
  /// Null before `Init`.
  std::shared_ptr<Session> Current();

  Callables callables_;
  std::mutex lifecycle_mutex_;
  LibraryReference library_;          // While code of ours may run.
  std::vector<std::thread> threads_;  // Of this session and of those that have ended.
  std::mutex mutex_;                  // Of what follows.
  std::shared_ptr<Session> session_;
  int scan_mode_ = 0;
  std::optional<ManufacturerItem> item_;
};

WindowsRadio& WindowsRadio::Instance() {
  alignas(WindowsRadio) static std::byte storage[sizeof(WindowsRadio)];
  static WindowsRadio* const radio = new (storage) WindowsRadio;
  return *radio;
}

int WindowsRadio::Init(std::uintptr_t) {
  const auto lifecycle = LockLifecycle(lifecycle_mutex_);
  if (!lifecycle) return kBusy;
  if (Current() != nullptr) return kAccepted;
  if (!OnLibraryThread()) JoinThreads();
  if (!library_) library_ = ReferToLibrary();
  auto session = std::make_shared<Session>(callables_);
  threads_.reserve(threads_.size() + 2);  // So that none that has started is lost.
  try {
    // Each thread keeps the whole session.
    for (const auto& queue : {session->tasks, session->adapter.Questions()}) {
      threads_.push_back(StartTaskThread({session, queue.get()}));
    }
  } catch (...) {
    session->Close({});
    throw;
  }
  const std::scoped_lock lock(mutex_);
  session_ = std::move(session);
  return kAccepted;
}

BleError WindowsRadio::CheckState() {
  const auto session = Current();
  return session == nullptr ? kCheckedBeforeInit : session->adapter.Ask(kLongestCheck).error;
}

void WindowsRadio::SetScanMode(int mode) {
  if (mode >= 0 && mode <= 2) {
    const std::scoped_lock lock(mutex_);
    scan_mode_ = mode;
  } else if (const auto session = Current()) {
    session->tasks->Post([this, mode] {
      callables_.Log(LogLevel::kError, "there is no scan mode " + std::to_string(mode));
    });
  }
}

int WindowsRadio::StartWatch() {
  const std::scoped_lock lock(mutex_);
  if (session_ == nullptr) return kNotInitialised;
  session_->tasks->Post([&watcher = session_->watcher, mode = scan_mode_] { watcher.Start(mode); });
  return kAccepted;
}

void WindowsRadio::StopWatch() {
  if (const auto session = Current()) {
    session->tasks->Post([&watcher = session->watcher] { watcher.Stop(); });
  }
}

int WindowsRadio::SetManufacturerData(std::uint16_t company, std::span<const std::uint8_t> data) {
  const std::scoped_lock lock(mutex_);
  item_ = {company, {data.begin(), data.end()}};
  return kAccepted;
}

int WindowsRadio::StartBroadcast() {
  const std::scoped_lock lock(mutex_);
  if (session_ == nullptr) return kNotInitialised;
  if (!item_) return kNoData;
  callables_.owes_stopped = true;
  session_->tasks->Post(
      [&publisher = session_->publisher, item = *item_] { publisher.Start(item); });
  return kAccepted;
}

void WindowsRadio::StopBroadcast() {
  if (const auto session = Current()) {
    session->tasks->Post([&publisher = session->publisher] { publisher.Stop(); });
  }
}

void WindowsRadio::TakeDown() {
  const auto lifecycle = LockLifecycle(lifecycle_mutex_);
  if (!lifecycle) return;
  std::shared_ptr<Session> session;
  {
    const std::scoped_lock lock(mutex_);
    session.swap(session_);
    scan_mode_ = 0;
    item_.reset();
  }
  callables_.received.Set({});
  const auto report = [this] {
    if (callables_.owes_stopped) {
      callables_.ReportStatus(BlePublisherStatus::kStopped, BleError::kNone);
    }
  };
  const bool waits = !OnLibraryThread();
  if (!waits) report();
  if (session != nullptr) {
    session->Close([&session = *session, waits, report] {
      session.watcher.TakeDown();
      session.publisher.TakeDown();
      if (waits) report();
    });
  }
  session.reset();
  if (waits) JoinThreads();
  callables_.status_changed.Set({});
  callables_.stopped.Set({});
}

/// Also lets the library go, unless the system still holds objects of ours: their code must stay
/// then.
void WindowsRadio::JoinThreads() {
  if (!library_) return;
  for (std::thread& thread : std::exchange(threads_, {})) thread.join();
  const auto end = std::chrono::steady_clock::now() + kLongestFarewell;
  do {
    std::this_thread::sleep_for(kFarewellInterval);  // Also for the last steps of the last one.
  } while (winrt::objects_alive > 0 && std::chrono::steady_clock::now() < end);
  if (winrt::objects_alive == 0) library_.reset();
}

std::shared_ptr<Session> WindowsRadio::Current() {
  const std::scoped_lock lock(mutex_);
  return session_;
}

}  // namespace

Radio* SystemRadio() {
  return &WindowsRadio::Instance();
}

}  // namespace plenar_ble
