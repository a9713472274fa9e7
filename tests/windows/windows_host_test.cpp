#include "tests/windows/windows_host_test.h"

#include <cstdlib>
#include <thread>

#include <plenar_base/log_sink.h>

#include "tests/windows/radio_finder.h"

namespace qvs_test {

using base::variant::Variant;
using quorvel_service::QVCreateServiceFunction;
using quorvel_service::QVDestroyServiceFunction;

namespace {

constexpr char kWindowClass[] = "PlenarBLEStateClass";

BOOL CALLBACK KeepIfOfOurClass(HWND window, LPARAM kept) {
  char name[sizeof(kWindowClass) + 1] = {};
  GetClassNameA(window, name, sizeof(name));
  if (std::string_view(name) != kWindowClass) return TRUE;
  *reinterpret_cast<HWND*>(kept) = window;
  return FALSE;
}

}  // namespace

WindowsHostTest::WindowsHostTest() : finder_(radio_finder::kFile) {
  set_radio_on_ = finder_.Function<radio_finder::SetRadioOnFunction>(radio_finder::kSetRadioOn);
  if (set_radio_on_ == nullptr) {
    ADD_FAILURE() << "the system's own finder of radios is loaded, not the double";
    std::abort();
  }
  looper_.emplace();
  base::log::AddLogSink(sink_);
  base::log::SetLogLevel(6);
}

WindowsHostTest::~WindowsHostTest() {
  UnloadModule();
  EXPECT_FALSE(
      finder_.Function<radio_finder::IsAnythingOpenFunction>(radio_finder::kIsAnythingOpen)());
  base::log::RemoveLogSink(sink_);
}

void WindowsHostTest::LoadModule() {
  module_.emplace(kModuleFile);
  ASSERT_NE(module_->Get(), nullptr) << "error " << GetLastError();
  destroy_ = module_->Function<QVDestroyServiceFunction>("QVDestroyService");
  ASSERT_NE(destroy_, nullptr);
}

void WindowsHostTest::UnloadModule() {
  DestroyService();
  looper_->RunUntilIdle();
  module_.reset();
}

void WindowsHostTest::CreateService() {
  auto* const create = module_->Function<QVCreateServiceFunction>("QVCreateService");
  ASSERT_NE(create, nullptr);
  service_ = create(quorvel_service::windows_ble::kServiceName);
  ASSERT_NE(service_, nullptr);
  service_->AddListener(&listener_);
}

void WindowsHostTest::DestroyService() {
  if (service_ == nullptr) return;
  destroy_(service_);
  service_ = nullptr;
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

bool WindowsHostTest::IsClassRegistered() {
  WNDCLASSEXA found = {};
  found.cbSize = sizeof(found);
  return GetClassInfoExA(GetModuleHandleA(nullptr), kWindowClass, &found) != 0;
}

LRESULT WindowsHostTest::SendDeviceChange(HWND window, WPARAM wparam) {
  LRESULT result = -1;
  std::jthread sender([&] {
    result = SendMessageA(window, WM_DEVICECHANGE, wparam, 0);
    looper_->Quit();
  });
  looper_->Run();
  sender.join();
  return result;
}

void WindowsHostTest::RunUntilEvent(std::uint64_t event) {
  listener_.on_event = [this, event](std::uint64_t id) {
    if (id == event) looper_->Quit();
  };
  looper_->Run();
  listener_.on_event = nullptr;
}

}  // namespace qvs_test
