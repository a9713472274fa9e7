#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>
#include <plenar_base_control/simulated_time.h>
#include <plenar_ble_control/virtual_radio.h>
#include <simulated_pc/simulated_pc.h>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "tests/support/recorder.h"

namespace qvs_test {

namespace method = quorvel_service::windows_ble::method;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

inline constexpr char kUuid[] = "12345678-9ABC-DEF0-1234-56789ABCDEF0";
inline constexpr std::uint16_t kCompany = 0x7E51;

using Bytes = std::vector<std::uint8_t>;
inline const Bytes kUuidBytes = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0,
                                 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};

/// One named argument of a method.
struct Arg {
  template <class T>
  Arg(std::string name, T&& argument) : key(std::move(name)), value(std::forward<T>(argument)) {}
  std::string key;
  base::variant::Variant value;
};
std::shared_ptr<base::variant::Variant> Args(std::initializer_list<Arg> arguments);

/// A library loaded at run time, as its users load it; unloaded with this.
struct Unload {
  void operator()(void* library) const { dlclose(library); }
};
using SharedLibrary = std::unique_ptr<void, Unload>;

/// A host's process around the built module: simulated time, main looper, simulated PC and virtual
/// radio (in-process air, manual time), all of them recorded, with the module loaded and no service
/// yet.
class ModuleTest : public testing::Test {
 protected:
  ModuleTest();
  ~ModuleTest() override;
  void SetUp() override { LoadModule(); }

  inline static const std::string kModule = QVS_TEST_MODULE;
  inline static const std::string kBleApi = QVS_TEST_BLE_API;

  /// Loads the module. The BLE API library of `kBleApi` is kept loaded from the start, so that it
  /// can be set before the module loads it.
  void LoadModule();
  /// Ends all services, lets the looper run once more, and unloads the module.
  void UnloadModule();

  /// A service, with `listener_` added to it; the module must be loaded.
  quorvel_service::IService* CreateService();
  void DestroyService(quorvel_service::IService* service);
  /// Loads the module and makes `service_`, unrecorded.
  void Start();
  /// Begins again with the module loaded anew, unrecorded.
  void Restart();

  /// Whether anybody in the process has this file loaded.
  [[nodiscard]] static bool IsLoaded(const std::string& path) {
    return SharedLibrary(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) != nullptr;
  }

  /// Leaves the BLE API library to the module, which then unloads it when it lets go of it.
  /// `radio_` stays usable until then, its reports being made by `Report`, not by time.
  void ReleaseBleApi();

  /// Says in the story what is done next.
  void Note(const std::string& text) { recorder_.Add(kNote, "> " + text); }

  /// Lets simulated time pass, and everything happen that is due by then.
  void RunFor(std::uint64_t milliseconds);
  void Settle() { RunFor(0); }

  /// Calls a method and checks the form of its result, which is returned and recorded.
  int Call(std::uint64_t method,
           const std::shared_ptr<base::variant::Variant>& arguments = nullptr);
  static constexpr int kNoMemory = -1;  ///< There was not even a result.

  int Init(int retry_time) { return Call(method::kInit, Args({{"retry_time", retry_time}})); }
  int UnInit() { return Call(method::kUnInit); }
  int CheckState(bool need_check_discoverable = false) {
    return Call(method::kCheckBleState,
                Args({{"need_check_discoverable", need_check_discoverable}}));
  }
  int Advertise(const std::string& uuid, const std::string& custom_data) {
    return Call(method::kStartBroadcast,
                Args({{"start", true}, {"uuid", uuid}, {"custom_data", custom_data}}));
  }
  int StopAdvertising() { return Call(method::kStartBroadcast, Args({{"start", false}})); }
  int Scan(const std::string& uuid, unsigned scan_mode, bool continuous,
           std::uint64_t interval_ms = 500) {
    const auto arguments = Args({{"start", true}, {"uuid", uuid}, {"scan_mode", scan_mode}});
    arguments->Set("continue_callback_enable", base::variant::Variant(continuous));
    arguments->Set("broadcast_cb_interval", base::variant::Variant(interval_ms));
    return Call(method::kStartWatchBroadcast, arguments);
  }
  int StopScan(const std::string& uuid = kUuid) {
    return Call(method::kStartWatchBroadcast, Args({{"start", false}, {"uuid", uuid}}));
  }
  int GetCache() { return Call(method::kGetBleScanCache); }

  // What the library reports, as far as the main looper.
  void ReportStatus(int status, int error = 0) {
    Note("the publisher's status is " + std::to_string(status));
    radio_->ReportPublisherStatus(static_cast<BlePublisherStatus>(status),
                                  static_cast<BleError>(error));
    Settle();
  }
  void ReportStopped(int error = 0) {
    Note("the watcher has stopped");
    radio_->ReportWatcherStopped(static_cast<BleError>(error));
    Settle();
  }
  void Hear(const BleBroadcastInfo& info) {
    Note("a broadcast of " + info.address);
    radio_->ReportBroadcast(info);
    Settle();
  }
  /// The system tells of a device change; 7: its settings may have changed.
  void ChangeDevices(std::uintptr_t wparam = 7) {
    Note("devices change: " + std::to_string(wparam));
    pc_.NotifyDeviceChange(wparam);
    Settle();
  }
  void SetAdapter(int error) {
    Note("the adapter's error is " + std::to_string(error));
    radio_->SetResult("BleCheckState", error);
  }
  void SetRadioOn(bool on) {
    Note(on ? "the radio is on" : "the radio is off");
    pc_.SetRadioOn(on);
  }
  /// Lets time pass as part of the story.
  void Wait(std::uint64_t milliseconds) {
    Note(std::to_string(milliseconds) + " ms pass");
    RunFor(milliseconds);
  }

  /// Does what only sets the scene: nothing of it is recorded.
  template <class Action>
  void Unrecorded(const Action& action) {
    const bool was_on = recorder_.is_on.exchange(false);
    action();
    recorder_.is_on = was_on;
  }

  /// Compares what is recorded with the case's text.
  void CompareStory(unsigned kinds);

  Lines Take(unsigned kinds = kUsual) { return recorder_.Take(kinds); }
  [[nodiscard]] int LoadCount() const { return pc_.LibraryLoadCount("plenar_ble_api.dll"); }
  /// The milliseconds until the next tick of any timer of the module; 0 while none runs.
  [[nodiscard]] std::uint64_t UntilTick() const {
    const auto now = time_->SteadyMilliseconds();
    return looper_->NextDeadline().value_or(now) - now;
  }

  std::shared_ptr<base::time::SimulatedTime> time_;
  std::optional<base::threading::MainLooperScope> looper_;
  Recorder recorder_;
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>(recorder_);
  simulated_pc::SimulatedPc& pc_ = simulated_pc::SimulatedPc::Get();
  plenar_ble_control::VirtualRadio* radio_ = nullptr;
  RecordingListener listener_{recorder_};
  quorvel_service::IService* service_ = nullptr;
  quorvel_service::QVCreateServiceFunction* create_ = nullptr;
  quorvel_service::QVDestroyServiceFunction* destroy_ = nullptr;

 private:
  class RadioInTime;

  SharedLibrary ble_api_;
  SharedLibrary module_;
  std::unique_ptr<RadioInTime> radio_in_time_;
  std::vector<quorvel_service::IService*> services_;
};

/// The same with the module loaded and `service_` up.
class ServiceTest : public ModuleTest {
 protected:
  void SetUp() override { Start(); }
};

/// A case that is a story: it only does things. Everything that happens meanwhile, in the order in
/// which it happens, is what the case's text in `tests/module/stories` says; what comes before a
/// `Take` only sets the scene. With QVS_WRITE_STORIES in the environment the text is written anew,
/// to be read before it is taken over.
template <class Start>
class StoryTest : public Start {
 protected:
  void SetUp() override {
    Start::SetUp();
    this->radio_->SetReportDelays(std::nullopt);
  }
  void TearDown() override { this->CompareStory(kinds_); }

  unsigned kinds_ = kUsual | kNote;
};

/// A broadcast as the radio would receive it.
inline BleBroadcastInfo Broadcast(std::string address, std::vector<std::string> uuids = {kUuid}) {
  BleBroadcastInfo info;
  info.address = std::move(address);
  info.service_uuids = std::move(uuids);
  return info;
}

}  // namespace qvs_test
