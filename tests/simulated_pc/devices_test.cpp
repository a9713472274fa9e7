#include <bluetoothapis.h>
#include <setupapi.h>
#include <winternl.h>

#include "tests/simulated_pc/pc_test.h"

namespace {

using DevicesTest = PcTest;

TEST_F(DevicesTest, TheVersionIsTheOneThatIsSet) {
  Pc().SetWindowsVersion(6, 3, 9600);
  RTL_OSVERSIONINFOW version{};
  EXPECT_LT(RtlGetVersion(&version), 0) << "the size is missing";
  version.dwOSVersionInfoSize = sizeof version;
  EXPECT_EQ(RtlGetVersion(&version), 0);
  EXPECT_EQ(version.dwMajorVersion, 6u);
}

TEST_F(DevicesTest, ARadioIsFoundWhileItIsOn) {
  BLUETOOTH_FIND_RADIO_PARAMS parameters = {};
  HANDLE radio = nullptr;
  EXPECT_EQ(ErrorOf(BluetoothFindFirstRadio(&parameters, &radio)), ERROR_REVISION_MISMATCH);
  parameters.dwSize = sizeof parameters;
  const HBLUETOOTH_RADIO_FIND search = BluetoothFindFirstRadio(&parameters, &radio);
  EXPECT_EQ(Pc().OpenHandleCount(), 2u);
  EXPECT_EQ(ErrorOf(BluetoothFindRadioClose(radio)), ERROR_INVALID_HANDLE) << "it is no search";
  EXPECT_TRUE(BluetoothFindRadioClose(search));
  EXPECT_TRUE(CloseHandle(radio));
  EXPECT_EQ(ErrorOf(CloseHandle(radio)), ERROR_INVALID_HANDLE);
  Pc().SetRadioOn(false);
  EXPECT_EQ(ErrorOf(BluetoothFindFirstRadio(&parameters, &radio)), ERROR_NO_MORE_ITEMS);
}

TEST_F(DevicesTest, ASetListsTheRadiosThatWerePresent) {
  Pc().SetDevices({{.instance_id = "USB\\A"}, {.instance_id = "USB\\B"}});
  const HDEVINFO set = SetupDiGetClassDevsA(&kRadioClass, nullptr, nullptr, DIGCF_DEVICEINTERFACE);
  Pc().SetDevices({});
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  char id[6];
  const auto get_id = [&](DWORD size) {
    return ErrorOf(SetupDiGetDeviceInstanceIdA(set, &device, id, size, nullptr));
  };
  EXPECT_EQ(get_id(6), ERROR_INVALID_PARAMETER) << "the record is of no device";
  for (const DWORD index : {0u, 1u}) {
    EXPECT_TRUE(SetupDiEnumDeviceInfo(set, index, &device));
    EXPECT_EQ(get_id(5), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(get_id(6), ERROR_SUCCESS);
    EXPECT_STREQ(id, index == 0 ? "USB\\A" : "USB\\B");
  }
  EXPECT_EQ(ErrorOf(SetupDiEnumDeviceInfo(set, 2, &device)), ERROR_NO_MORE_ITEMS);
  EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
}

TEST_F(DevicesTest, TheRegistryHoldsWhatTheDevicesSay) {
  Pc().SetDevices({{.instance_id = "A", .has_parameters_key = false}});
  HKEY key = nullptr;
  const auto open = [&key](const std::string& path) {
    const std::string full_path = "SYSTEM\\CurrentControlSet\\Enum\\" + path;
    return RegOpenKeyExA(HKEY_LOCAL_MACHINE, full_path.c_str(), 0, KEY_READ, &key);
  };
  EXPECT_EQ(open("A\\Device Parameters"), ERROR_FILE_NOT_FOUND);
  Pc().SetDiscoverable(false);
  EXPECT_EQ(open("US"), ERROR_FILE_NOT_FOUND) << "half a name";
  EXPECT_EQ(open("usb\\VID_0A12&PID_0001\\5&1\\device parameters"), ERROR_SUCCESS);
  DWORD type = 0, value = 0, size = 3;
  const auto read = [&] {
    return RegQueryValueExA(key, "write scan enable", nullptr, &type,
                            reinterpret_cast<LPBYTE>(&value), &size);
  };
  EXPECT_EQ(read(), ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(read(), ERROR_SUCCESS);
  EXPECT_EQ(type, DWORD{REG_DWORD});
  EXPECT_EQ(value, 3u);
  Pc().SetDevices({});
  EXPECT_EQ(read(), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

}  // namespace
