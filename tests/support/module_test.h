#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

/// A shared library that is open; closed at the end.
class SharedLibrary {
 public:
  explicit SharedLibrary(const std::string& path);
  ~SharedLibrary() { Close(); }
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }
  void Close();
  [[nodiscard]] void* Find(const char* name) const;
  template <class F>
  [[nodiscard]] F* Function(const char* name) const {
    return reinterpret_cast<F*>(Find(name));
  }

  /// Whether anybody in this process has the library of this path loaded.
  static bool IsLoaded(const std::string& path);

 private:
  void* handle_;
};

/// A host's process around the built module: simulated time, main looper, simulated PC and virtual
/// radio (in-process air, manual time), all of them recorded. The module is not loaded yet.
class ModuleTest : public testing::Test {
 protected:
  ModuleTest();
  ~ModuleTest() override;

  // Paths of what the build made.
  static const std::string kModule;
  static const std::string kBleApi;

  /// Loads the module. The BLE API library of `kBleApi` is kept loaded from the start, so that it
  /// can be set before the module loads it.
  void LoadModule();
  /// Ends all services, lets the looper run once more, and unloads the module.
  void UnloadModule();

  /// A service, with `listener_` added to it; the module must be loaded.
  quorvel_service::IService* CreateService();
  void DestroyService(quorvel_service::IService* service);
  /// Loads the module, makes `service_` and forgets what was recorded meanwhile.
  void Start();

  /// Leaves the BLE API library to the module, which then unloads it when it lets go of it.
  /// `radio_` stays usable until then, its reports being made by `Report`, not by time.
  void ReleaseBleApi();

  /// Lets simulated time pass, resp. everything happen that is to happen now.
  void RunFor(std::uint64_t milliseconds) { time_->RunFor(*looper_, milliseconds); }
  void Settle() { time_->Settle(*looper_); }
  /// Lets the library call its callables, while the tasks they post stay waiting.
  void LetLibraryReport() { radio_->AdvanceTo(time_->SteadyMilliseconds()); }

  /// Calls a method and checks the form of its result, which is returned and recorded.
  int Call(std::uint64_t method,
           const std::shared_ptr<base::variant::Variant>& arguments = nullptr);
  int Init(int retry_time);
  int UnInit();
  int CheckState(bool need_check_discoverable = false);
  int Advertise(const std::string& uuid, const std::string& custom_data);
  int StopAdvertising();
  int Scan(const std::string& uuid, unsigned scan_mode, bool continuous,
           std::uint64_t interval_ms = 500);
  int StopScan(const std::string& uuid = kUuid);
  int GetCache();

  Lines Take(unsigned kinds = kUsual) { return recorder_.Take(kinds); }

  std::shared_ptr<base::time::SimulatedTime> time_;
  std::optional<base::threading::MainLooperScope> looper_;
  Recorder recorder_;
  std::shared_ptr<RecordingSink> sink_;
  simulated_pc::SimulatedPc& pc_ = simulated_pc::SimulatedPc::Get();
  plenar_ble_control::VirtualRadio* radio_ = nullptr;
  RecordingListener listener_{recorder_};
  quorvel_service::IService* service_ = nullptr;
  quorvel_service::QVCreateServiceFunction* create_ = nullptr;
  quorvel_service::QVDestroyServiceFunction* destroy_ = nullptr;

 private:
  class RadioInTime;

  void ObserveRadio();
  /// As whoever keeps the library loaded for longer than the module: the library still holds
  /// callables whose code goes with the module.
  void DropModulesCallables();

  std::optional<SharedLibrary> ble_api_;
  std::optional<SharedLibrary> module_;
  std::unique_ptr<RadioInTime> radio_in_time_;
  std::vector<quorvel_service::IService*> services_;
};

/// The same with the module loaded and `service_` up.
class ServiceTest : public ModuleTest {
 protected:
  void SetUp() override { Start(); }
};

/// A broadcast as the radio would receive it.
BleBroadcastInfo Broadcast(std::string address, std::vector<std::string> uuids = {kUuid});

}  // namespace qvs_test
