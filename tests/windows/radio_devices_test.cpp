#include <windows.h>

#include <setupapi.h>

#include <array>
#include <cstdint>
#include <vector>

#include "tests/windows/windows_host_test.h"

namespace qvs_test {
namespace {

constexpr GUID kRadioInterfaceClass = {
    0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};
constexpr GUID kBluetoothSetUpClass = {
    0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};

/// No other device of the machine is touched.
constexpr std::string_view kOurDevices = "ROOT\\QVS_TEST_RADIO\\";

/// The registry value "Write Scan Enable" of a device.
struct Value {
  DWORD type;
  std::vector<std::uint8_t> data;
};
Value Number(std::uint8_t value) {
  return {REG_DWORD, {value, 0, 0, 0}};
}

enum class Key { kPresent, kMissing };

/// A radio as its driver leaves it in the registry.
struct Radio {
  std::optional<Value> write_scan_enable;
  Key device_parameters = Key::kPresent;
};

class DeviceSet {
 public:
  explicit DeviceSet(HDEVINFO set) : set_(set) {}
  ~DeviceSet() { SetupDiDestroyDeviceInfoList(set_); }
  DeviceSet(const DeviceSet&) = delete;
  DeviceSet& operator=(const DeviceSet&) = delete;
  operator HDEVINFO() const { return set_; }

 private:
  HDEVINFO set_;
};

SP_DEVINFO_DATA NoDevice() {
  SP_DEVINFO_DATA device = {};
  device.cbSize = sizeof(device);
  return device;
}

void RemoveOurDevices() {
  const DeviceSet set(
      SetupDiGetClassDevsA(&kRadioInterfaceClass, nullptr, nullptr, DIGCF_DEVICEINTERFACE));
  SP_DEVINFO_DATA device = NoDevice();
  for (DWORD i = 0; SetupDiEnumDeviceInfo(set, i, &device); ++i) {
    std::array<char, 260> id = {};
    SetupDiGetDeviceInstanceIdA(set, &device, id.data(), id.size(), nullptr);
    if (std::string_view(id.data()).starts_with(kOurDevices)) SetupDiRemoveDevice(set, &device);
  }
}

void Register(const Radio& radio, std::size_t number) {
  const DeviceSet set(SetupDiCreateDeviceInfoList(&kBluetoothSetUpClass, nullptr));
  const std::string id = std::string(kOurDevices) + std::to_string(number);
  SP_DEVINFO_DATA device = NoDevice();
  ASSERT_TRUE(SetupDiCreateDeviceInfoA(set, id.c_str(), &kBluetoothSetUpClass, nullptr, nullptr, 0,
                                       &device));
  ASSERT_TRUE(SetupDiRegisterDeviceInfo(set, &device, 0, nullptr, nullptr, nullptr));
  ASSERT_TRUE(
      SetupDiCreateDeviceInterfaceA(set, &device, &kRadioInterfaceClass, nullptr, 0, nullptr));
  if (radio.device_parameters == Key::kMissing) return;

  const HKEY key =
      SetupDiCreateDevRegKeyA(set, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr);
  ASSERT_NE(key, INVALID_HANDLE_VALUE);
  if (const auto& value = radio.write_scan_enable) {
    EXPECT_EQ(RegSetValueExA(key, "Write Scan Enable", 0, value->type, value->data.data(),
                             static_cast<DWORD>(value->data.size())),
              ERROR_SUCCESS);
  }
  RegCloseKey(key);
}

struct Case {
  const char* name;
  std::vector<Radio> radios;
  int state;
};
void PrintTo(const Case& tried, std::ostream* out) {
  *out << tried.name;
}

class RadioDevices : public WindowsHostTest, public testing::WithParamInterface<Case> {
 protected:
  void SetUp() override { RemoveOurDevices(); }
  void TearDown() override { RemoveOurDevices(); }
};

TEST_P(RadioDevices, SayWhetherTheRadioIsDiscoverable) {
  std::size_t number = 0;
  for (const Radio& radio : GetParam().radios) ASSERT_NO_FATAL_FAILURE(Register(radio, ++number));
  ASSERT_NO_FATAL_FAILURE(LoadModule());
  ASSERT_NO_FATAL_FAILURE(CreateService());

  EXPECT_EQ(CheckState(/*need_check_discoverable=*/true), GetParam().state);
  EXPECT_EQ(CheckState(/*need_check_discoverable=*/false), 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, RadioDevices,
    testing::Values(
        Case{"None", {}, 6}, Case{"One", {{Number(1)}}, 0}, Case{"Zero", {{Number(0)}}, 6},
        Case{"Three", {{Number(3)}}, 6}, Case{"NoValue", {{std::nullopt}}, 6},
        Case{"NoKey", {{std::nullopt, Key::kMissing}}, 6},
        Case{"Text", {{Value{REG_SZ, {'1', 0}}}}, 6},
        Case{"LongText", {{Value{REG_SZ, {'1', '2', '3', '4', '5', 0}}}}, 6},
        Case{"BinaryOne", {{Value{REG_BINARY, {1, 0, 0, 0}}}}, 6},
        Case{"WideOne", {{Value{REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}}}}, 6},
        Case{"UndecidedThenOne", {{std::nullopt, Key::kMissing}, {std::nullopt}, {Number(1)}}, 0},
        Case{"ThreeThenOne", {{Number(3)}, {Number(1)}}, 6},
        Case{"OneThenThree", {{Number(1)}, {Number(3)}}, 0}),
    [](const auto& tried) { return tried.param.name; });

}  // namespace
}  // namespace qvs_test
