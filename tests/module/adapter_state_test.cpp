// The state of the adapter and the radio, the hidden window, and the walk over the radios.
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using simulated_pc::Device;
using simulated_pc::RegistryValue;

class AdapterStateTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    CheckState();  // Delivers the report that is owed; the state is 0.
    Take();
  }
};

TEST_F(AdapterStateTest, IsTheFirstFaultOfAdapterRadioAndDiscoverability) {
  const struct {
    int adapter;
    bool radio_on, discoverable, ask_discoverable;
    int state;
    const char* log;
  } cases[] = {
      {0, true, true, true, 0, nullptr},
      {0, true, false, false, 0, nullptr},
      {0, true, false, true, 6, "3 CheckBleState: ble radio is not discoverable"},
      {0, false, false, true, 5, "3 CheckBleState: ble radio is turned off"},
      {0, false, true, false, 5, "3 CheckBleState: ble radio is turned off"},
      {6, true, true, true, 4, "3 CheckBleState: ble adapter not available, err: 6"},
      {6, false, false, true, 4, "3 CheckBleState: ble adapter not available, err: 6"},
      {3, true, true, false, 9, "3 CheckBleState: ble adapter not available, err: 3"},
      {-7, true, true, false, 9, "3 CheckBleState: ble adapter not available, err: -7"},
  };
  int old = 0;
  for (const auto& [adapter, radio_on, discoverable, ask, state, log] : cases) {
    radio_->SetResult("BleCheckState", adapter);
    pc_.SetRadioOn(radio_on);
    pc_.SetDiscoverable(discoverable);
    EXPECT_EQ(CheckState(ask), state);

    Lines expected = {"ble BleCheckState()"};
    if (log != nullptr) expected.emplace_back(log);
    if (state != old) {
      expected.push_back("6 CheckBleState: ble state change from: " + std::to_string(old) +
                         ", to: " + std::to_string(state));
    }
    expected.push_back("ret " + std::to_string(state));
    EXPECT_EQ(Take(), expected) << "the host's own check raises no event";
    EXPECT_EQ(pc_.OpenHandleCount(), 0u);
    old = state;
  }
}

TEST_F(AdapterStateTest, ExaminesNoMoreThanItMust) {
  EXPECT_THAT(After([&] { CheckState(); }, kWindows),
              Reads({"win BluetoothFindFirstRadio(*)", "win BluetoothFindRadioClose(*)",
                     "win CloseHandle(*)"}));
  pc_.SetRadioOn(false);
  EXPECT_THAT(After([&] { CheckState(true); }, kWindows),
              Reads({"win BluetoothFindFirstRadio(*)"}));
  radio_->SetResult("BleCheckState", 6);
  EXPECT_THAT(After([&] { CheckState(true); }, kWindows), Reads({}));
}

TEST_F(AdapterStateTest, AChangeOfSettingsIsReportedOnce) {
  pc_.SetRadioOn(false);
  ChangeDevices();
  EXPECT_THAT(Take(), Reads({"6 MessageWndProc: system ble setting changed", "ble BleCheckState()",
                             "3 CheckBleState: ble radio is turned off",
                             "6 CheckBleState: ble state change from: 0, to: 5", "state 5"}));
  EXPECT_THAT(After([&] { ChangeDevices(); }),
              Reads({"6 MessageWndProc: system ble setting changed", "ble BleCheckState()",
                     "3 CheckBleState: ble radio is turned off"}));
}

TEST_F(AdapterStateTest, WhatIsNoChangeOfStateIsNotReported) {
  pc_.SetDiscoverable(false);
  ChangeDevices();  // Does not ask for discoverability.
  pc_.SetRadioOn(false);
  CheckState();  // The host finds it itself.
  ChangeDevices();
  EXPECT_THAT(Take(kEvent), Reads({}));
  pc_.SetRadioOn(true);
  for (const std::uintptr_t wparam : {0x8000u, 0x8004u, 0u}) ChangeDevices(wparam);
  EXPECT_THAT(Take(), Reads({}));
  pc_.SetRadioOn(false);
  pc_.NotifyDeviceChange(7);  // Still on its way at the shut-down.
  UnInit();
  EXPECT_THAT(After([&] { ChangeDevices(); }), Reads({}));
}

TEST_F(AdapterStateTest, ANestedCheckDoesNotDeliverTheReportAgain) {
  UnInit();
  Init(0);
  Take();
  listener_.on_event = [&](auto) { EXPECT_EQ(CheckState(), 0); };
  EXPECT_EQ(CheckState(), 0);
  EXPECT_THAT(Take(kEvent | kResult), Reads({RetryInfo(true, 0), "ret 0", "ret 0"}));
  EXPECT_EQ(CheckState(), 0);
  EXPECT_THAT(Take(kEvent), Reads({}));
}

TEST_F(AdapterStateTest, TheWindowIsMadeForBluetoothNotifications) {
  UnInit();
  EXPECT_EQ(pc_.WindowCount(), 0u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 0u);
  EXPECT_TRUE(pc_.HasWindowClass("PlenarBLEStateClass"));
  EXPECT_THAT(After([&] { Init(0); }, kWindows),
              Holds({"win RegisterClassExA(\"PlenarBLEStateClass\")", "win GetModuleHandleA(null)",
                     "win CreateWindowExA(0, \"PlenarBLEStateClass\", null, 13565952, 0, 0, 0, 0, "
                     "null, null, *, null)",
                     "win RegisterDeviceNotificationA(*, 0)"}));
  EXPECT_EQ(pc_.WindowCount(), 1u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
}

TEST_F(AdapterStateTest, WithoutAWindowEverythingElseWorks) {
  for (const char* call : {"RegisterClassExA", "CreateWindowExA", "RegisterDeviceNotificationA"}) {
    UnInit();
    pc_.FailNext(call, 8);
    EXPECT_EQ(Init(0), 0) << call;
    EXPECT_EQ(CheckState(), 0) << call;
  }
  EXPECT_EQ(pc_.DeviceNotificationCount(), 0u);
  EXPECT_EQ(UnInit(), 0);
}

Device Radio(std::optional<RegistryValue> value, bool has_key = true) {
  static int number = 0;
  return {"USB\\VID_0A12&PID_0001\\" + std::to_string(++number), has_key, std::move(value)};
}

RegistryValue Number(std::uint8_t low, std::uint8_t high = 0) {
  return {4, {low, 0, 0, high}};
}

TEST_F(AdapterStateTest, TheFirstRadioWithAnAnswerDecidesDiscoverability) {
  const auto text = RegistryValue{1, {'1', 0, 0, 0}};
  const auto binary = RegistryValue{3, {1, 0, 0, 0}};
  const auto too_long = RegistryValue{4, {1, 0, 0, 0, 0, 0, 0, 0}};
  const struct {
    const char* description;
    std::vector<Device> devices;
    bool discoverable;
  } cases[] = {
      {"none", {}, false},
      {"1", {Radio(Number(1))}, true},
      {"0", {Radio(Number(0)), Radio(Number(1))}, false},
      {"3", {Radio(Number(3)), Radio(Number(1))}, false},
      {"all four bytes count", {Radio(Number(1, 1))}, false},
      {"first of two", {Radio(Number(1)), Radio(Number(0))}, true},
      {"no value, then 1", {Radio(std::nullopt), Radio(Number(1))}, true},
      {"no key, then 1", {Radio(Number(1), false), Radio(Number(1))}, true},
      {"text, then 1", {Radio(text), Radio(Number(1))}, true},
      {"binary, then 1", {Radio(binary), Radio(Number(1))}, true},
      {"too long, then 1", {Radio(too_long), Radio(Number(1))}, true},
      {"no answer", {Radio(std::nullopt), Radio(Number(1), false), Radio(text)}, false},
  };
  for (const auto& [description, devices, discoverable] : cases) {
    pc_.SetDevices(devices);
    EXPECT_EQ(CheckState(true), discoverable ? 0 : 6) << description;
    EXPECT_EQ(pc_.OpenHandleCount(), 0u) << description;
  }
}

TEST_F(AdapterStateTest, AsksTheRegistryForEachPresentRadio) {
  pc_.SetDevices({{"USB\\VID_0A12&PID_0001\\5&1", true, Number(1)}});
  EXPECT_THAT(After([&] { CheckState(true); }, kWindows),
              Holds({"win SetupDiGetClassDevsA(*, null, null, 18)",
                     "win SetupDiEnumDeviceInfo(*, 0)", "win SetupDiGetDeviceInstanceIdA(*, 260)",
                     "win RegOpenKeyExA(*, \"SYSTEM\\CurrentControlSet\\Enum\\USB\\"
                     "VID_0A12&PID_0001\\5&1\\Device Parameters\", 0, 131097)",
                     "win RegQueryValueExA(*, \"Write Scan Enable\")", "win RegCloseKey(*)",
                     "win SetupDiDestroyDeviceInfoList(*)"}));
}

TEST_F(AdapterStateTest, AStepThatFailsLeadsToTheNextRadio) {
  for (const char* call : {"SetupDiGetDeviceInstanceIdA", "RegOpenKeyExA", "RegQueryValueExA"}) {
    pc_.SetDevices({Radio(Number(0)), Radio(Number(1))});
    pc_.FailNext(call, 5);
    EXPECT_EQ(CheckState(true), 0) << call;
    EXPECT_EQ(pc_.OpenHandleCount(), 0u) << call;
  }
  pc_.FailNext("SetupDiGetClassDevsA", 1784);
  Take();
  EXPECT_EQ(CheckState(true), 6);
  EXPECT_THAT(Take(kLog), Holds({"3 CheckBleRadioIsDiscoverable: SetupDiGetClassDevs failed, "
                                 "system error: 1784"}));
}

}  // namespace
}  // namespace qvs_test
