#include "radio/control.h"

#include <utility>

#include "radio/radio.h"

namespace plenar_ble {
namespace {

using plenar_ble_control::Advertisement;
using plenar_ble_control::Air;
using plenar_ble_control::ReportDelays;

class RadioControl final : public plenar_ble_control::VirtualRadio {
  template <typename Operation>
  auto Locked(const Operation& operation) const {
    return radio_.Locked(operation);
  }

  template <typename Report>
  void OnLibraryThread(const Report& report) {
    radio_.core.scheduler.Run([&report] { report(); });
  }

 public:
  explicit RadioControl(Radio& radio) : radio_(radio) {}

  void Reset() override { radio_.Reset(); }

  void SetCallObserver(CallObserver observer) override {
    radio_.script.observer.Replace(std::move(observer));
  }

  void SetResult(std::string_view function, std::int32_t result) override {
    radio_.script.SetResult(function, result);
  }

  void ThrowFrom(std::string_view function, int times) override {
    radio_.script.ThrowFrom(function, times);
  }

  void SetStatusError(BlePublisherStatus status, BleError error) override {
    Locked([&] { radio_.core.reports.ErrorOf(status) = error; });
  }

  void SetAutomaticReports(bool automatic) override {
    Locked([&] { radio_.core.reports.automatic = automatic; });
  }

  void SetReportDelays(const ReportDelays& delays) override {
    Locked([&] { radio_.core.reports.delays = delays; });
  }

  void ReportPublisherStatus(BlePublisherStatus status, BleError error) override {
    OnLibraryThread([&] { radio_.publisher.status_changed(status, error); });
  }

  void ReportWatcherStopped(BleError error) override {
    OnLibraryThread([&] { radio_.watcher.stopped(error); });
  }

  void ReportBroadcast(const BleBroadcastInfo& info) override {
    OnLibraryThread([&] { radio_.watcher.received(info); });
  }

  void ReportLog(const char* file, int line, const char* function, int level,
                 const char* message) override {
    OnLibraryThread([&] { radio_.core.log(file, line, function, level, message); });
  }

  void SetAir(Air air) override {
    Locked([&] { radio_.core.air = air; });
  }

  void PutOnAir(const BleBroadcastInfo& device, std::uint64_t interval_ms) override {
    Locked([&] { radio_.watcher.PutOnAir(device, interval_ms); });
  }

  void TakeOffAir(const std::string& address) override {
    Locked([&] { radio_.watcher.TakeOffAir(address); });
  }

  bool IsInitialised() const override {
    return Locked([this] { return radio_.core.initialised; });
  }

  bool IsWatching() const override {
    return Locked([this] { return radio_.watcher.IsWatching(); });
  }

  int ScanMode() const override {
    return Locked([this] { return radio_.watcher.ScanMode(); });
  }

  std::optional<Advertisement> Advertising() const override {
    return Locked([this] { return radio_.publisher.Advertising(); });
  }

  void UseManualTime(std::uint64_t now_ms) override {
    Locked([&] { radio_.core.scheduler.UseManualTime(now_ms); });
  }

  std::optional<std::uint64_t> NextDeadline() const override {
    return Locked([this] { return radio_.core.scheduler.NextDeadline(); });
  }

  std::size_t AdvanceTo(std::uint64_t now_ms) override {
    RadioCore& core = radio_.core;
    RadioCore::Lock lock(core.mutex);
    return core.scheduler.AdvanceTo(now_ms, lock);
  }

 private:
  Radio& radio_;
};

}  // namespace

plenar_ble_control::VirtualRadio& Control() {
  static RadioControl control(Radio::Instance());
  return control;
}

}  // namespace plenar_ble
