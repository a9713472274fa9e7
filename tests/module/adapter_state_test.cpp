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
    CheckState();  // delivers the report that is owed; the state is 0
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
      {6, false, false, true, 4, "3 CheckBleState: ble adapter not available, err: 6"},
      {3, true, true, false, 9, "3 CheckBleState: ble adapter not available, err: 3"},
      {-7, true, true, false, 9, "3 CheckBleState: ble adapter not available, err: -7"},
  };
  int old = 0;
  for (const auto& [adapter, radio_on, discoverable, ask, state, log] : cases) {
    SetAdapter(adapter);
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

TEST_F(AdapterStateTest, AChangeOfSettingsIsReportedOnce) {
  pc_.SetRadioOn(false);
  pc_.SetDiscoverable(false);  // which is not asked for
  ChangeDevices();
  EXPECT_THAT(Take(), ElementsAre("6 MessageWndProc: system ble setting changed",
                                  "ble BleCheckState()", "3 CheckBleState: ble radio is turned off",
                                  "6 CheckBleState: ble state change from: 0, to: 5", "state 5"));
  ChangeDevices();
  EXPECT_THAT(Take(kEvent), IsEmpty());
  pc_.SetRadioOn(true);
  CheckState();  // the host finds it itself
  ChangeDevices();
  EXPECT_THAT(Take(kEvent), IsEmpty());
}

TEST_F(AdapterStateTest, OtherMessagesAndThoseAfterTheShutDownDoNothing) {
  pc_.SetRadioOn(false);
  for (const std::uintptr_t arrival_and_others : {0x8000u, 0x8004u, 0u}) {
    EXPECT_GT(pc_.DeviceNotificationCount(), 0u);
    ChangeDevices(arrival_and_others);
  }
  EXPECT_THAT(Take(), IsEmpty());
  pc_.NotifyDeviceChange(7);  // still on its way at the shut-down
  UnInit();
  Take();
  ChangeDevices();
  EXPECT_THAT(Take(), IsEmpty());
}

TEST_F(AdapterStateTest, ANestedCheckDoesNotDeliverTheReportAgain) {
  UnInit();
  Init(0);
  Take();
  listener_.on_event = [&](auto) { EXPECT_EQ(CheckState(), 0); };
  EXPECT_EQ(CheckState(), 0);
  EXPECT_EQ(CheckState(), 0);
  EXPECT_THAT(Take(kEvent | kResult), ElementsAre(RetryInfo(true, 0), "ret 0", "ret 0", "ret 0"));
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
  const auto too_long = RegistryValue{4, {1, 0, 0, 0, 0, 0, 0, 0}};
  const struct {
    const char* description;
    std::vector<Device> devices;
    bool discoverable;
  } cases[] = {
      {"none", {}, false},
      {"0", {Radio(Number(0)), Radio(Number(1))}, false},
      {"all four bytes count", {Radio(Number(1, 1))}, false},
      {"first of two", {Radio(Number(1)), Radio(Number(0))}, true},
      {"no value, then 1", {Radio(std::nullopt), Radio(Number(1))}, true},
      {"no key, then 1", {Radio(Number(1), false), Radio(Number(1))}, true},
      {"text, then 1", {Radio(text), Radio(Number(1))}, true},
      {"too long, then 1", {Radio(too_long), Radio(Number(1))}, true},
      {"no answer", {Radio(std::nullopt), Radio(Number(1), false), Radio(text)}, false},
  };
  for (const auto& [description, devices, discoverable] : cases) {
    pc_.SetDevices(devices);
    EXPECT_EQ(CheckState(true), discoverable ? 0 : 6) << description;
    EXPECT_EQ(pc_.OpenHandleCount(), 0u) << description;
  }
}

TEST_F(AdapterStateTest, AsksTheSystemForEachPresentRadio) {
  pc_.SetDevices({{"USB\\VID_0A12&PID_0001\\5&1", true, Number(1)}});
  CheckState(true);
  EXPECT_THAT(
      Take(kWindows),
      ElementsAre("win BluetoothFindFirstRadio(*, *)", "win BluetoothFindRadioClose(*)",
                  "win CloseHandle(*)", "win SetupDiGetClassDevsA(*, null, null, 18)",
                  "win SetupDiEnumDeviceInfo(*, 0)", "win SetupDiGetDeviceInstanceIdA(*, *, 260)",
                  "win RegOpenKeyExA(*, \"SYSTEM\\CurrentControlSet\\Enum\\USB\\"
                  "VID_0A12&PID_0001\\5&1\\Device Parameters\", 0, 131097)",
                  "win RegQueryValueExA(*, \"Write Scan Enable\")", "win RegCloseKey(*)",
                  "win SetupDiDestroyDeviceInfoList(*)"));
  for (const char* call : {"SetupDiGetDeviceInstanceIdA", "RegOpenKeyExA", "RegQueryValueExA"}) {
    pc_.SetDevices({Radio(Number(0)), Radio(Number(1))});
    pc_.FailNext(call, 5);
    EXPECT_EQ(CheckState(true), 0) << call << ": a step that fails leads to the next radio";
  }
  pc_.FailNext("SetupDiGetClassDevsA", 1784);
  EXPECT_EQ(CheckState(true), 6);
  EXPECT_THAT(Take(kLog), Contains("3 CheckBleRadioIsDiscoverable: SetupDiGetClassDevs failed, "
                                   "system error: 1784"));
}

}  // namespace
}  // namespace qvs_test
