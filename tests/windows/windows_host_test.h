#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>

#include <gtest/gtest.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "tests/support/recorder.h"

namespace qvs_test {

/// A host's process around the built module, over real Windows calls and in real time. Only the
/// finder of radios is a double.
class WindowsHostTest : public testing::Test {
 protected:
  WindowsHostTest();
  ~WindowsHostTest() override;

  /// Loads the module and makes `service_`, whose events are recorded.
  void LoadModule();
  /// Ends the service, lets the looper run once more, and unloads the module.
  void UnloadModule();

  /// Calls a method; the result's "ret".
  int Call(std::uint64_t method,
           const std::shared_ptr<base::variant::Variant>& arguments = nullptr);
  int CheckState(bool need_check_discoverable);

  void SetRadioOn(bool on) { set_radio_on_(on); }

  /// The looper thread's window of the module's class; null if there is none.
  [[nodiscard]] static HWND HiddenWindow();
  /// Sends the message that settings have changed on a thread of its own while the looper runs.
  void SendDeviceChange(HWND window);
  /// Runs the looper until an event of this id comes.
  void RunUntilEvent(std::uint64_t event);

  Lines Take(unsigned kinds) { return recorder_.Take(kinds); }

  base::threading::MainLooperScope looper_;
  Recorder recorder_;
  RecordingListener listener_{recorder_};
  HMODULE module_ = nullptr;
  quorvel_service::IService* service_ = nullptr;

 private:
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>(recorder_);
  HMODULE finder_ = nullptr;
  void (*set_radio_on_)(bool on) = nullptr;
};

}  // namespace qvs_test
