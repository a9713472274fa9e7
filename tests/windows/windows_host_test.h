#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "tests/support/recorder.h"

namespace qvs_test {

/// A library that is loaded, by its bare name from the program's folder; freed at the end.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* name) : module_(LoadLibraryA(name)) {}
  ~LoadedLibrary() { Free(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  void Free() {
    if (module_ != nullptr) FreeLibrary(module_);
    module_ = nullptr;
  }
  [[nodiscard]] HMODULE Get() const { return module_; }
  template <class F>
  [[nodiscard]] F* Function(const char* name) const {
    return reinterpret_cast<F*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

 private:
  HMODULE module_;
};

inline constexpr char kModuleFile[] = "qvs_windows_ble.dll";

/// A host's process around the built module, over real Windows calls and in real time. Only the
/// finder of radios is a double.
class WindowsHostTest : public testing::Test {
 protected:
  WindowsHostTest();
  ~WindowsHostTest() override;

  void LoadModule();
  /// Ends the service, lets the looper run once more, and unloads the module.
  void UnloadModule();
  /// Makes `service_`, whose events are recorded.
  void CreateService();
  void DestroyService();

  /// Calls a method; the result's "ret".
  int Call(std::uint64_t method,
           const std::shared_ptr<base::variant::Variant>& arguments = nullptr);
  int CheckState(bool need_check_discoverable);

  void SetRadioOn(bool on) { set_radio_on_(on); }

  /// The looper thread's window of the module's class; null if there is none.
  [[nodiscard]] static HWND HiddenWindow();
  [[nodiscard]] static bool IsClassRegistered();
  /// Sends a device-change message on a thread of its own while the looper runs; its result.
  LRESULT SendDeviceChange(HWND window, WPARAM wparam);
  /// Runs the looper until an event of this id comes.
  void RunUntilEvent(std::uint64_t event);

  Lines Take(unsigned kinds = kResult | kEvent | kLog) { return recorder_.Take(kinds); }

  std::optional<base::threading::MainLooperScope> looper_;
  Recorder recorder_;
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>(recorder_);
  RecordingListener listener_{recorder_};
  std::optional<LoadedLibrary> module_;
  quorvel_service::IService* service_ = nullptr;

 private:
  LoadedLibrary finder_;
  void (*set_radio_on_)(bool on) = nullptr;
  quorvel_service::QVDestroyServiceFunction* destroy_ = nullptr;
};

}  // namespace qvs_test
