#include <windows.h>
// Needs what <windows.h> declares.
#include <setupapi.h>

#include <gtest/gtest.h>

#include "tests/windows_calls/last_error.h"

namespace {

TEST(DeviceSets, OfAnUnknownClassAreEmpty) {
  constexpr DWORD kPresentInterfaces = DIGCF_PRESENT | DIGCF_DEVICEINTERFACE;
  constexpr GUID kUnknownClass = {
      0x6B21F5A4, 0x1D0C, 0x4B6E, {0x9A, 0x0E, 0x52, 0x3B, 0x77, 0x10, 0x4C, 0xF1}};
  EXPECT_EQ(SetupDiGetClassDevsA(nullptr, nullptr, nullptr, kPresentInterfaces),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(ErrorOf(FALSE), ERROR_INVALID_PARAMETER);
  const HDEVINFO set = SetupDiGetClassDevsA(&kUnknownClass, nullptr, nullptr, kPresentInterfaces);
  ASSERT_NE(set, INVALID_HANDLE_VALUE);
  SP_DEVINFO_DATA device = {};
  EXPECT_EQ(ErrorOf(SetupDiEnumDeviceInfo(set, 0, &device)), ERROR_INVALID_USER_BUFFER);
  device.cbSize = sizeof(device);
  EXPECT_EQ(ErrorOf(SetupDiEnumDeviceInfo(set, 0, &device)), ERROR_NO_MORE_ITEMS);
  EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
  EXPECT_EQ(ErrorOf(SetupDiDestroyDeviceInfoList(set)), ERROR_INVALID_HANDLE);
}

TEST(Registry, OpensWhatIsThereAndClosesItOnce) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "system\\currentcontrolset\\ENUM", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  DWORD type = 0;
  BYTE value[4] = {};
  DWORD size = sizeof(value);
  EXPECT_EQ(RegQueryValueExA(key, "No such value", nullptr, &type, value, &size),
            ERROR_FILE_NOT_FOUND);
  HKEY none = nullptr;
  EXPECT_EQ(RegOpenKeyExA(key, "No such key", 0, KEY_READ, &none), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

}  // namespace
