#include <windows.h>

#include <bluetoothapis.h>
#include <dbt.h>
#include <setupapi.h>

#include <cassert>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <plenar_base/json.h>
#include <plenar_ble_api/ble_api.h>

#include "framework/log_writer.h"
#include "framework/main_looper.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"

namespace quorvel_service {
namespace {

using base::json::JsonValue;

constexpr char kWindowClass[] = "PlenarBLEStateClass";

/// The interface class of Bluetooth radios, {0850302A-B344-4FDA-9BE9-90576B8D46F0}.
constexpr GUID kRadioInterfaceClass = {
    0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};

// What the system takes by size, and checks.
static_assert(sizeof(WNDCLASSEXA) == 80);
static_assert(sizeof(DEV_BROADCAST_DEVICEINTERFACE_A) == 32);
static_assert(sizeof(SP_DEVINFO_DATA) == 32);
static_assert(sizeof(BLUETOOTH_FIND_RADIO_PARAMS) == 4);

struct DeviceSetDeleter {
  using pointer = HDEVINFO;
  void operator()(HDEVINFO devices) const noexcept { ::SetupDiDestroyDeviceInfoList(devices); }
};

/// The registry value that says whether a radio answers inquiries: 1 is yes. None if the device has
/// no such number.
std::optional<DWORD> WriteScanEnable(const char* device_id) {
  const std::string path =
      std::string("SYSTEM\\CurrentControlSet\\Enum\\") + device_id + "\\Device Parameters";
  HKEY key = nullptr;
  if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  DWORD value = 0;
  DWORD type = 0;
  DWORD size = sizeof(value);
  const auto result = ::RegQueryValueExA(key, "Write Scan Enable", nullptr, &type,
                                         reinterpret_cast<BYTE*>(&value), &size);
  ::RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_DWORD) return std::nullopt;
  return value;
}

}  // namespace

std::int32_t BleWrapper::CheckBleState(bool report_to_delegate,
                                       bool need_check_discoverable) noexcept try {
  assert(IsOnMainLooper());
  if (!inited_) {
    QV_LOG(kError) << "ble is not inited";
    return windows_ble::result::kNotInitialised;
  }
  std::int32_t state = windows_ble::result::kSuccess;
  if (const BleError err = BleApi().Call<&BleApiTable::BleCheckState>(); err != BleError::kNone) {
    QV_LOG(kError) << "ble adapter not available, err: " << static_cast<std::int32_t>(err);
    state = err == BleError::kAdapterTemporarilyUnavailable
                ? windows_ble::result::kAdapterUnavailable
                : windows_ble::result::kAdapterError;
  } else if (!CheckBleRadioIsOn()) {
    QV_LOG(kError) << "ble radio is turned off";
    state = windows_ble::result::kRadioOff;
  } else if (need_check_discoverable && !CheckBleRadioIsDiscoverable()) {
    QV_LOG(kError) << "ble radio is not discoverable";
    state = windows_ble::result::kNotDiscoverable;
  }

  const std::int32_t old = ble_state_;
  if (old != state) {
    QV_LOG(kInformation) << "ble state change from: " << old << ", to: " << state;
    ble_state_ = state;
  }
  if (report_to_delegate && delegate_ != nullptr && old != state) {
    delegate_->OnBleStateChanged(state);
  }
  if (retry_report_pending_ && !delivering_retry_info_) ReportRetryInfo(true, has_retry_time_);
  return state;
} catch (...) {
  QV_LOG_FAILURE();
  return windows_ble::result::kLibraryFailure;
}

bool BleWrapper::CheckBleRadioIsOn() const {
  BLUETOOTH_FIND_RADIO_PARAMS parameters = {};
  parameters.dwSize = sizeof(parameters);
  HANDLE radio = nullptr;
  const HBLUETOOTH_RADIO_FIND search = ::BluetoothFindFirstRadio(&parameters, &radio);
  if (search == nullptr) return false;
  ::BluetoothFindRadioClose(search);
  ::CloseHandle(radio);
  return true;
}

bool BleWrapper::CheckBleRadioIsDiscoverable() const {
  const HDEVINFO found = ::SetupDiGetClassDevsA(&kRadioInterfaceClass, nullptr, nullptr,
                                                DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
  if (found == INVALID_HANDLE_VALUE) {
    QV_LOG_TAKING(kError, __func__, error, static_cast<std::uint32_t>(::GetLastError()))
        << "SetupDiGetClassDevs failed, system error: " << error;
    return false;
  }
  const std::unique_ptr<HDEVINFO, DeviceSetDeleter> devices(found);
  SP_DEVINFO_DATA device = {};
  device.cbSize = sizeof(device);
  for (DWORD index = 0; ::SetupDiEnumDeviceInfo(found, index, &device); ++index) {
    char id[260] = {};
    if (!::SetupDiGetDeviceInstanceIdA(found, &device, id, sizeof(id), nullptr)) continue;
    if (const auto value = WriteScanEnable(id)) return *value == 1;
  }
  return false;
}

void BleWrapper::ReportRetryInfo(bool is_success, std::int32_t retry_time) noexcept try {
  if (delegate_ == nullptr) {
    QV_LOG(kInformation) << "report failed";
    return;
  }
  QV_LOG(kInformation) << "report success";
  JsonValue report;
  report.SetJsonObject("is_success", JsonValue(is_success));
  report.SetJsonObject("retry_time", JsonValue(retry_time));
  const std::string json = report.ToStyledString(nullptr);
  delivering_retry_info_ = true;
  delegate_->OnRetryInfo(json);
  delivering_retry_info_ = false;
  retry_report_pending_ = false;
} catch (...) {
  QV_LOG_FAILURE();  // the report stays owed
}

void BleWrapper::CreateMessageWindow() {
  DestroyMessageWindow();  // one of an earlier set-up, so that no change is handled twice

  WNDCLASSEXA window_class = {};
  window_class.cbSize = sizeof(window_class);
  window_class.lpfnWndProc = &BleWrapper::MessageWndProc;
  window_class.lpszClassName = kWindowClass;
  ::RegisterClassExA(&window_class);  // a class that is already there serves as well
  message_window_ = ::CreateWindowExA(0, kWindowClass, nullptr, WS_OVERLAPPEDWINDOW, 0, 0, 0, 0,
                                      nullptr, nullptr, ::GetModuleHandleA(nullptr), nullptr);

  DEV_BROADCAST_DEVICEINTERFACE_A filter = {};
  filter.dbcc_size = sizeof(filter);
  filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  filter.dbcc_classguid = kRadioInterfaceClass;
  device_notification_ =
      ::RegisterDeviceNotificationA(message_window_, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
}

void BleWrapper::UnregisterWindowClass() noexcept {
  ::UnregisterClassA(kWindowClass, ::GetModuleHandleA(nullptr));
}

void BleWrapper::DestroyMessageWindow() noexcept {
  if (message_window_ != nullptr) {
    ::DestroyWindow(message_window_);
    message_window_ = nullptr;
  }
  if (device_notification_ != nullptr) {
    ::UnregisterDeviceNotification(device_notification_);
    device_notification_ = nullptr;
  }
}

LRESULT CALLBACK BleWrapper::MessageWndProc(HWND window, UINT message, WPARAM wparam,
                                            LPARAM lparam) noexcept {
  if (message != WM_DEVICECHANGE) return ::DefWindowProcA(window, message, wparam, lparam);
  if (wparam == DBT_DEVNODES_CHANGED) {
    QV_LOG(kInformation) << "system ble setting changed";
    GetInstance().CheckBleState(true, false);
  }
  return 0;
}

}  // namespace quorvel_service
