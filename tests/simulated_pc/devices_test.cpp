#include <bluetoothapis.h>
#include <dbt.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <setupapi.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>
#include <winternl.h>

#include <string>
#include <vector>

namespace {

using simulated_pc::SimulatedPc;
using testing::ElementsAre;

constexpr GUID kRadioClass = {
    0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};
constexpr GUID kOtherClass = {1, 2, 3, {}};
constexpr DWORD kFlags = DIGCF_PRESENT | DIGCF_DEVICEINTERFACE;
constexpr char kParameters[] =
    R"(System\CurrentControlSet\Enum\USB\VID_0A12&PID_0001\5&1\device parameters)";

SimulatedPc& Pc() {
  return SimulatedPc::Get();
}

class DevicesTest : public testing::Test {
 protected:
  void SetUp() override {
    Pc().Reset();
    SetLastError(0);
  }
  void TearDown() override { EXPECT_EQ(Pc().OpenHandleCount(), 0u); }
};

TEST_F(DevicesTest, TheVersionIsTheOneThatIsSet) {
  RTL_OSVERSIONINFOW version{};
  EXPECT_LT(RtlGetVersion(&version), 0) << "the size is missing";
  version.dwOSVersionInfoSize = sizeof version;
  EXPECT_EQ(RtlGetVersion(&version), 0);
  EXPECT_EQ(version.dwMajorVersion, 10u);
  EXPECT_EQ(version.dwBuildNumber, 19045u);
  Pc().SetWindowsVersion(6, 3, 9600);
  EXPECT_EQ(RtlGetVersion(&version), 0);
  EXPECT_EQ(version.dwMajorVersion, 6u);
  EXPECT_EQ(version.dwMinorVersion, 3u);
}

TEST_F(DevicesTest, ARadioIsFoundWhileItIsOn) {
  BLUETOOTH_FIND_RADIO_PARAMS parameters = {sizeof parameters};
  HANDLE radio = nullptr;
  const HBLUETOOTH_RADIO_FIND search = BluetoothFindFirstRadio(&parameters, &radio);
  ASSERT_NE(search, nullptr);
  EXPECT_EQ(Pc().OpenHandleCount(), 2u);
  EXPECT_FALSE(BluetoothFindRadioClose(radio)) << "a radio is no search";
  EXPECT_FALSE(CloseHandle(search));
  EXPECT_TRUE(BluetoothFindRadioClose(search));
  EXPECT_TRUE(CloseHandle(radio));
  EXPECT_FALSE(CloseHandle(radio));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});

  Pc().SetRadioOn(false);
  EXPECT_EQ(BluetoothFindFirstRadio(&parameters, &radio), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS});
  parameters.dwSize = 8;
  EXPECT_EQ(BluetoothFindFirstRadio(&parameters, &radio), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_REVISION_MISMATCH});
}

TEST_F(DevicesTest, ASetListsTheDevicesOfItsClass) {
  Pc().SetDevices({{.instance_id = "USB\\A"}, {.instance_id = "USB\\BB"}});
  const HDEVINFO set = SetupDiGetClassDevsA(&kRadioClass, nullptr, nullptr, kFlags);
  Pc().SetDevices({});  // What a set holds does not change any more.
  SP_DEVINFO_DATA device{};
  EXPECT_FALSE(SetupDiEnumDeviceInfo(set, 0, &device));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_USER_BUFFER});
  device.cbSize = sizeof device;
  std::vector<std::string> ids;
  for (DWORD i = 0; SetupDiEnumDeviceInfo(set, i, &device); ++i) {
    char id[MAX_PATH];
    EXPECT_TRUE(SetupDiGetDeviceInstanceIdA(set, &device, id, sizeof id, nullptr));
    ids.emplace_back(id);
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS});
  EXPECT_THAT(ids, ElementsAre("USB\\A", "USB\\BB"));
  EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
  EXPECT_FALSE(SetupDiDestroyDeviceInfoList(set));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(DevicesTest, OtherClassesAndSetUpClassesAreEmpty) {
  const struct {
    const GUID* class_guid;
    PCSTR enumerator;
    DWORD flags;
    bool found;
  } kCases[] = {
      {&kRadioClass, nullptr, kFlags, true},
      {&kRadioClass, R"(usb\vid_0a12&pid_0001\5&1)", kFlags, true},
      {&kRadioClass, "PCI", kFlags, false},
      {&kRadioClass, nullptr, DIGCF_PRESENT, false},
      {&kOtherClass, nullptr, kFlags, false},
  };
  for (const auto& test : kCases) {
    const HDEVINFO set =
        SetupDiGetClassDevsA(test.class_guid, test.enumerator, nullptr, test.flags);
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    EXPECT_EQ(SetupDiEnumDeviceInfo(set, 0, &device) == TRUE, test.found);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
  }
  EXPECT_EQ(SetupDiGetClassDevsA(nullptr, nullptr, nullptr, kFlags), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(DevicesTest, AnIdentifierNeedsItsRoom) {
  Pc().SetDevices({{.instance_id = "USB\\A"}});
  const HDEVINFO set = SetupDiGetClassDevsA(&kRadioClass, nullptr, nullptr, kFlags);
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  char id[6];
  EXPECT_FALSE(SetupDiGetDeviceInstanceIdA(set, &device, id, 6, nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << "the record is of no device";
  ASSERT_TRUE(SetupDiEnumDeviceInfo(set, 0, &device));
  DWORD required = 0;
  EXPECT_FALSE(SetupDiGetDeviceInstanceIdA(set, &device, id, 5, &required));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(required, 6u);
  EXPECT_FALSE(SetupDiGetDeviceInstanceIdA(set, &device, nullptr, 6, &required));
  EXPECT_TRUE(SetupDiGetDeviceInstanceIdA(set, &device, id, 6, &required));
  EXPECT_STREQ(id, "USB\\A");
  device.cbSize = 0;
  EXPECT_FALSE(SetupDiGetDeviceInstanceIdA(set, &device, id, 6, &required));
  SetupDiDestroyDeviceInfoList(set);
}

TEST_F(DevicesTest, RegistryKeysExistAsTheDevicesSay) {
  Pc().SetDevices({{.instance_id = "USB\\A"}, {.instance_id = "B", .has_parameters_key = false}});
  const struct {
    const char* path;
    LSTATUS result;
  } kCases[] = {
      {"system", ERROR_SUCCESS},
      {R"(SYSTEM\CurrentControlSet\Enum\)", ERROR_SUCCESS},
      {R"(SYSTEM\CurrentControlSet\Enum\USB)", ERROR_SUCCESS},
      {R"(SYSTEM\CurrentControlSet\Enum\usb\a\Device Parameters)", ERROR_SUCCESS},
      {R"(SYSTEM\CurrentControlSet\Enum\B)", ERROR_SUCCESS},
      {R"(SYSTEM\CurrentControlSet\Enum\B\Device Parameters)", ERROR_FILE_NOT_FOUND},
      {R"(SYSTEM\CurrentControlSet\Enum\US)", ERROR_FILE_NOT_FOUND},
      {R"(SYSTEM\CurrentControlSet\Enum\USB\A\Device Parameters\x)", ERROR_FILE_NOT_FOUND},
      {R"(\SYSTEM)", ERROR_BAD_PATHNAME},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.path);
    auto key = reinterpret_cast<HKEY>(0x1);
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, test.path, 0, KEY_READ, &key), test.result);
    EXPECT_EQ(key != nullptr, test.result == ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), key != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
  }
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(nullptr, "SYSTEM", 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(key, HKEY_LOCAL_MACHINE);
}

TEST_F(DevicesTest, AKeyIsOpenedBelowAnotherAndClosedOnce) {
  HKEY system = nullptr;
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SYSTEM", 0, KEY_READ, &system), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExA(system, kParameters + 7, 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(system), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(system), ERROR_INVALID_HANDLE);
  Pc().SetDevices({});
  EXPECT_EQ(RegQueryValueExA(key, "x", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(DevicesTest, AValueIsReadAsFarAsThereIsRoom) {
  Pc().SetDiscoverable(false);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kParameters, 0, KEY_READ, &key), ERROR_SUCCESS);
  const struct {
    const char* name;
    DWORD capacity;
    LSTATUS result;
    DWORD type;
    DWORD size;
    DWORD value;
  } kCases[] = {
      {"write scan enable", 4, ERROR_SUCCESS, REG_DWORD, 4, 3},
      {"Write Scan Enable", 3, ERROR_MORE_DATA, REG_DWORD, 4, 0},
      {"Other", 4, ERROR_FILE_NOT_FOUND, REG_NONE, 4, 0},
      {nullptr, 4, ERROR_FILE_NOT_FOUND, REG_NONE, 4, 0},
  };
  for (const auto& test : kCases) {
    DWORD type = 99;
    DWORD value = 0;
    DWORD size = test.capacity;
    EXPECT_EQ(
        RegQueryValueExA(key, test.name, nullptr, &type, reinterpret_cast<LPBYTE>(&value), &size),
        test.result);
    EXPECT_EQ(type, test.type);
    EXPECT_EQ(size, test.size);
    EXPECT_EQ(value, test.value);
  }
  BYTE byte = 0;
  EXPECT_EQ(RegQueryValueExA(key, "Write Scan Enable", nullptr, nullptr, &byte, nullptr),
            ERROR_INVALID_PARAMETER);
  RegCloseKey(key);

  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kParameters, 0, 0x20000, &key), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExA(key, "x", nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
  RegCloseKey(key);
}

std::vector<WPARAM> device_changes;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message != WM_DEVICECHANGE) return DefWindowProcA(window, message, wparam, lparam);
  device_changes.push_back(wparam);
  if (lparam != 0) {
    const auto& event = *reinterpret_cast<DEV_BROADCAST_DEVICEINTERFACE_A*>(lparam);
    EXPECT_EQ(event.dbcc_classguid.Data1, kRadioClass.Data1);
  }
  return 0;
}

HWND CreateSampleWindow(HWND parent) {
  WNDCLASSEXA description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = Procedure;
  description.lpszClassName = "Sample";
  RegisterClassExA(&description);
  return CreateWindowExA(0, "Sample", "", 0, 0, 0, 0, 0, parent, nullptr, nullptr, nullptr);
}

DEV_BROADCAST_DEVICEINTERFACE_A Filter(const GUID& interface_class) {
  DEV_BROADCAST_DEVICEINTERFACE_A filter{};
  filter.dbcc_size = sizeof filter;
  filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
  filter.dbcc_classguid = interface_class;
  return filter;
}

std::vector<WPARAM> ChangesSeenFor(WPARAM wparam) {
  device_changes.clear();
  Pc().NotifyDeviceChange(wparam);
  EXPECT_TRUE(device_changes.empty()) << "the change is posted, not sent";
  for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) DispatchMessageA(&message);
  return device_changes;
}

TEST_F(DevicesTest, ChangesReachTheWindowsThatTheyAreFor) {
  const HWND window = CreateSampleWindow(nullptr);
  const HWND message_only = CreateSampleWindow(HWND_MESSAGE);
  EXPECT_THAT(ChangesSeenFor(DBT_DEVNODES_CHANGED), ElementsAre(7u)) << "top-level windows only";
  EXPECT_TRUE(ChangesSeenFor(DBT_DEVICEARRIVAL).empty()) << "nobody has asked for it";

  DEV_BROADCAST_DEVICEINTERFACE_A filter = Filter(kRadioClass);
  DEV_BROADCAST_DEVICEINTERFACE_A other = Filter(kOtherClass);
  const HDEVNOTIFY first = RegisterDeviceNotificationA(message_only, &filter, 0);
  const HDEVNOTIFY second = RegisterDeviceNotificationA(window, &other, 0);
  EXPECT_THAT(ChangesSeenFor(DBT_DEVICEARRIVAL), ElementsAre(0x8000u));
  EXPECT_TRUE(DestroyWindow(message_only));
  EXPECT_TRUE(ChangesSeenFor(DBT_DEVICEARRIVAL).empty());
  EXPECT_EQ(Pc().DeviceNotificationCount(), 2u) << "a registration outlives its window";
  EXPECT_TRUE(UnregisterDeviceNotification(first));
  EXPECT_TRUE(UnregisterDeviceNotification(second));
  EXPECT_FALSE(UnregisterDeviceNotification(first));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  DestroyWindow(window);
}

TEST_F(DevicesTest, ARegistrationIsChecked) {
  const HWND window = CreateSampleWindow(nullptr);
  DEV_BROADCAST_DEVICEINTERFACE_A good = Filter(kRadioClass);
  DEV_BROADCAST_DEVICEINTERFACE_A too_small = good;
  too_small.dbcc_size = 28;
  DEV_BROADCAST_DEVICEINTERFACE_A no_interface = good;
  no_interface.dbcc_devicetype = 77;
  const struct {
    HWND window;
    DEV_BROADCAST_DEVICEINTERFACE_A* filter;
    DWORD flags;
    DWORD error;
  } kCases[] = {
      {nullptr, &good, 0, ERROR_INVALID_PARAMETER},   {window, nullptr, 0, ERROR_INVALID_PARAMETER},
      {window, &good, 8, ERROR_INVALID_PARAMETER},    {window, &too_small, 0, ERROR_INVALID_DATA},
      {window, &no_interface, 0, ERROR_INVALID_DATA},
  };
  for (const auto& test : kCases) {
    SetLastError(0);
    EXPECT_EQ(RegisterDeviceNotificationA(test.window, test.filter, test.flags), nullptr);
    EXPECT_EQ(GetLastError(), test.error);
  }
  EXPECT_EQ(Pc().DeviceNotificationCount(), 0u);
  DestroyWindow(window);
}

}  // namespace
