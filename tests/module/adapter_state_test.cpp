// The state of the adapter and the radio, the hidden window, and the walk over the radios.
#include <windows.h>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using simulated_pc::Device;
using simulated_pc::RegistryValue;

/// A service whose report of having come up was delivered; the state is 0.
class UpTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Unrecorded([this] { CheckState(); });
  }
};
using AdapterStory = StoryTest<UpTest>;

TEST_F(AdapterStory, TheStateIsTheFirstFaultOfAdapterRadioAndDiscoverability) {
  const struct {
    int adapter;
    bool radio_on, discoverable, asked;
  } cases[] = {{0, true, true, true},   {0, true, false, false}, {0, true, false, true},
               {0, false, false, true}, {0, false, true, false}, {6, false, false, true},
               {3, true, false, true},  {-7, true, true, true}};
  for (const auto& [adapter, radio_on, discoverable, asked] : cases) {
    Note("adapter " + std::to_string(adapter) + (radio_on ? ", radio on" : ", radio off"));
    radio_->SetResult("BleCheckState", adapter);
    pc_.SetRadioOn(radio_on);
    pc_.SetDiscoverable(discoverable);
    CheckState(asked);
    EXPECT_EQ(pc_.OpenHandleCount(), 0u);
  }
}

TEST_F(AdapterStory, AChangeOfSettingsIsReportedOnce) {
  pc_.SetDiscoverable(false);  // which is not asked for
  ChangeDevices();
  SetRadioOn(false);
  ChangeDevices();
  ChangeDevices();
  SetRadioOn(true);
  CheckState();  // the host finds it itself
  ChangeDevices();
}

TEST_F(AdapterStory, OtherMessagesAndThoseAfterTheShutDownDoNothing) {
  SetRadioOn(false);
  for (const std::uintptr_t arrival_and_removal : {0x8000u, 0x8004u}) {
    pc_.NotifyDeviceChange(arrival_and_removal);
    MSG message;
    EXPECT_TRUE(::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) << "it is asked for";
    EXPECT_EQ(::DispatchMessageA(&message), 0);
  }
  pc_.NotifyDeviceChange(7);  // still on its way at the shut-down
  UnInit();
  ChangeDevices();
}

TEST_F(AdapterStory, ANestedCheckDoesNotDeliverTheReportAgain) {
  UnInit();
  Init(0);
  Take();
  listener_.on_event = [this](auto) { CheckState(); };
  CheckState();
  CheckState();
}

Device Radio(std::optional<RegistryValue> value, bool has_key = true) {
  static int number = 0;
  return {"USB\\VID_0A12&PID_0001\\" + std::to_string(++number), has_key, std::move(value)};
}

RegistryValue Number(std::uint8_t low, std::uint8_t high = 0) {
  return {4, {low, 0, 0, high}};
}

TEST_F(UpTest, TheFirstRadioWithAnAnswerDecidesDiscoverability) {
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

TEST_F(AdapterStory, AsksTheSystemForEachPresentRadio) {
  pc_.SetDevices({{"nameless", true, Number(1)},
                  {"without key", false, Number(1)},
                  {"without value", true, std::nullopt},
                  {"with an answer", true, Number(3)},
                  {"too late", true, Number(1)}});
  for (const char* call : {"SetupDiGetDeviceInstanceIdA", "SetupDiGetClassDevsA"}) {
    pc_.FailNext(call, 1784);
    CheckState(true);
  }
  kinds_ |= kWindows;
}

}  // namespace
}  // namespace qvs_test
