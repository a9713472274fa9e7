#include "tests/windows/windows_host_test.h"

#include <cstdlib>
#include <string_view>
#include <thread>

#include <plenar_base/log_sink.h>

namespace qvs_test {

using base::variant::Variant;

namespace {

constexpr char kWindowClass[] = "PlenarBLEStateClass";

template <class F>
F* Function(HMODULE module, const char* name) {
  return reinterpret_cast<F*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

BOOL CALLBACK KeepIfOfOurClass(HWND window, LPARAM kept) {
  char name[sizeof(kWindowClass) + 1] = {};
  GetClassNameA(window, name, sizeof(name));
  if (std::string_view(name) != kWindowClass) return TRUE;
  *reinterpret_cast<HWND*>(kept) = window;
  return FALSE;
}

}  // namespace

WindowsHostTest::WindowsHostTest() : finder_(LoadLibraryA("bthprops.cpl")) {
  set_radio_on_ = Function<void(bool)>(finder_, "SetRadioOn");
  if (set_radio_on_ == nullptr) {
    ADD_FAILURE() << "the system's own finder of radios is loaded, not the double";
    std::abort();
  }
  base::log::AddLogSink(sink_);
  base::log::SetLogLevel(6);
}

WindowsHostTest::~WindowsHostTest() {
  if (module_ != nullptr) UnloadModule();
  base::log::RemoveLogSink(sink_);
  FreeLibrary(finder_);
}

void WindowsHostTest::LoadModule() {
  module_ = LoadLibraryA("qvs_windows_ble.dll");
  ASSERT_NE(module_, nullptr) << "error " << GetLastError();
  using quorvel_service::QVCreateServiceFunction;
  service_ = Function<QVCreateServiceFunction>(
      module_, "QVCreateService")(quorvel_service::windows_ble::kServiceName);
  ASSERT_NE(service_, nullptr);
  service_->AddListener(&listener_);
}

void WindowsHostTest::UnloadModule() {
  using quorvel_service::QVDestroyServiceFunction;
  Function<QVDestroyServiceFunction>(module_, "QVDestroyService")(service_);
  looper_.RunUntilIdle();
  FreeLibrary(module_);
  module_ = nullptr;
}

int WindowsHostTest::Call(std::uint64_t method, const std::shared_ptr<Variant>& arguments) {
  return service_->Call(method, arguments)->Value()->Get("ret").AsInt32();
}

int WindowsHostTest::CheckState(bool need_check_discoverable) {
  const auto arguments = std::make_shared<Variant>();
  arguments->Set("need_check_discoverable", Variant(need_check_discoverable));
  return Call(quorvel_service::windows_ble::method::kCheckBleState, arguments);
}

HWND WindowsHostTest::HiddenWindow() {
  HWND window = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), KeepIfOfOurClass, reinterpret_cast<LPARAM>(&window));
  return window;
}

void WindowsHostTest::SendDeviceChange(HWND window) {
  const std::jthread sender([&] {
    constexpr WPARAM kSettingsChanged = 7;
    EXPECT_EQ(SendMessageA(window, WM_DEVICECHANGE, kSettingsChanged, 0), 0);
    looper_.Quit();
  });
  looper_.Run();
}

void WindowsHostTest::RunUntilEvent(std::uint64_t event) {
  listener_.on_event = [this, event](std::uint64_t id) {
    if (id == event) looper_.Quit();
  };
  looper_.Run();
  listener_.on_event = nullptr;
}

}  // namespace qvs_test
