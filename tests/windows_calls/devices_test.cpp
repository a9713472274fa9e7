#include <windows.h>

#include <setupapi.h>

#include <gtest/gtest.h>

#include "last_error.h"

namespace windows_calls {
namespace {

/// An interface class that nothing has.
constexpr GUID kUnknownClass = {
    0x6B21F5A4, 0x1D0C, 0x4B6E, {0x9A, 0x0E, 0x52, 0x3B, 0x77, 0x10, 0x4C, 0xF1}};
constexpr DWORD kPresentInterfaces = DIGCF_PRESENT | DIGCF_DEVICEINTERFACE;

TEST(DeviceSets, OfAnUnknownClassAreEmpty) {
  const HDEVINFO set = SetupDiGetClassDevsA(&kUnknownClass, nullptr, nullptr, kPresentInterfaces);
  ASSERT_NE(set, INVALID_HANDLE_VALUE);
  SP_DEVINFO_DATA device = {};
  device.cbSize = sizeof(device);
  EXPECT_FALSE(SetupDiEnumDeviceInfo(set, 0, &device));
  EXPECT_EQ(ErrorOf([&] { return SetupDiEnumDeviceInfo(set, 0, &device); }), ERROR_NO_MORE_ITEMS);
  EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
  EXPECT_EQ(ErrorOf([&] { return SetupDiDestroyDeviceInfoList(set); }), ERROR_INVALID_HANDLE);
}

TEST(DeviceSets, NeedAClass) {
  const auto get = [] {
    return SetupDiGetClassDevsA(nullptr, nullptr, nullptr, kPresentInterfaces);
  };
  EXPECT_EQ(get(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(ErrorOf(get), ERROR_INVALID_PARAMETER);
}

TEST(DeviceSets, NeedTheRecordsSize) {
  const HDEVINFO set = SetupDiGetClassDevsA(&kUnknownClass, nullptr, nullptr, kPresentInterfaces);
  SP_DEVINFO_DATA device = {};
  EXPECT_EQ(ErrorOf([&] { return SetupDiEnumDeviceInfo(set, 0, &device); }),
            ERROR_INVALID_USER_BUFFER);
  SetupDiDestroyDeviceInfoList(set);
}

TEST(Registry, OpensWhatIsThere) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Enum", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  DWORD type = 77;
  BYTE value[4] = {};
  DWORD size = sizeof(value);
  EXPECT_EQ(RegQueryValueExA(key, "No such value", nullptr, &type, value, &size),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExA(key, "No such key", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TEST(Registry, ClosesKeys) {
  HKEY key = nullptr;
  RegOpenKeyExA(HKEY_LOCAL_MACHINE, "system\\currentcontrolset\\ENUM", 0, KEY_READ, &key);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace windows_calls
