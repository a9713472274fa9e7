#include "host/demo/script.h"

#include "host/byte_text.h"

namespace qvs_host {
namespace {

constexpr std::uint16_t kCompany = 0x7E51;

std::vector<std::uint8_t> ManufacturerData(const std::string& custom_data) {
  const std::string bytes = UuidToBytes(kDemoUuid).value() + custom_data;
  return {bytes.begin(), bytes.end()};
}

BleBroadcastInfo Device(const std::string& address, const std::string& name, std::int16_t rssi) {
  BleBroadcastInfo device;
  device.address = address;
  device.local_name = name;
  device.rssi = rssi;
  return device;
}

BleBroadcastInfo Projector() {
  BleBroadcastInfo device = Device("02:00:00:00:00:01", "Projector", -48);
  device.service_uuids = {kDemoUuid};
  device.connectable = true;
  return device;
}

BleBroadcastInfo DoorPanel() {
  BleBroadcastInfo device = Device("02:00:00:00:00:02", "Door panel", -61);
  device.manufacturer_data[kCompany] = ManufacturerData("room 4.02");
  return device;
}

BleBroadcastInfo Sensor() {
  BleBroadcastInfo device = Device("02:00:00:00:00:03", "", -77);
  device.manufacturer_data[kCompany] = ManufacturerData("\x01\x7F\xFF");
  return device;
}

BleBroadcastInfo Headphones() {
  BleBroadcastInfo device = Device("02:00:00:00:00:04", "Headphones", -40);
  device.service_uuids = {"ffffffff-0a1b-2c3d-4e5f-0a1b2c3d4e5f"};
  return device;
}

void StartWithoutAdapter(Stage& stage) {
  stage.SetAdapterAvailable(false);
  stage.CreateService();
  stage.CheckState(false);
}

void AskForRetries(Stage& stage) {
  stage.Init(5);
  stage.LetTimePass(4000);
}

void FindAdapter(Stage& stage) {
  stage.SetAdapterAvailable(true);
  stage.LetTimePass(4000);
  stage.CheckState(false);
}

void Advertise(Stage& stage, const std::string& custom_data) {
  stage.StartAdvertising(custom_data);
  stage.LetTimePass(200);
  stage.ShowSending();
}

void StopAdvertising(Stage& stage) {
  stage.StopAdvertising();
  stage.LetTimePass(200);
  stage.ShowSending();
}

void ScanContinuously(Stage& stage) {
  stage.PutOnAir(Projector(), 230);
  stage.PutOnAir(DoorPanel(), 310);
  stage.PutOnAir(Sensor(), 370);
  stage.PutOnAir(Headphones(), 170);
  stage.StartScanning(0, /*continuous=*/true);
  stage.LetTimePass(1250);
}

void ScanOnRequest(Stage& stage) {
  stage.StopScanning();
  stage.StartScanning(1, /*continuous=*/false);
  stage.LetTimePass(2000);
  stage.AskForDevices();
  stage.LetTimePass(1000);
}

void TurnRadioOffAndOn(Stage& stage) {
  stage.SetRadioOn(false);
  stage.LetTimePass(1000);
  stage.SetRadioOn(true);
  stage.LetTimePass(1000);
}

void HideRadio(Stage& stage) {
  stage.SetDiscoverable(false);
  stage.LetTimePass(100);
  stage.CheckState(true);
  stage.CheckState(false);
  stage.SetDiscoverable(true);
  stage.LetTimePass(100);
  stage.CheckState(true);
}

void TakeDownAndUp(Stage& stage) {
  stage.UnInit();
  stage.LetTimePass(2000);
  stage.CheckState(false);
  stage.Init(0);
}

void ShutDown(Stage& stage) {
  Advertise(stage, "last words");
  stage.DestroyService();
  stage.ShowSending();
}

const Expectation kNoEvent = {"nothing is reported", Kind::kEvent, "", 0};

}  // namespace

const std::vector<Step>& Script() {
  static const std::vector<Step> steps = {
      {.title = "The host starts, and the adapter is not available yet",
       .act = StartWithoutAdapter,
       .expected = {{"the module gives a service", Kind::kResult, "a service"},
                    {"the state is: not initialised", Kind::kResult, "1, "},
                    kNoEvent}},
      {.title = "The host asks for re-checks on a timer, five at most",
       .act = AskForRetries,
       .expected = {{"the adapter is told to be unavailable", Kind::kResult, "4, "}, kNoEvent}},
      {.title = "The adapter becomes available",
       .act = FindAdapter,
       .expected = {{"the next re-check finds it and the state is reported", Kind::kEvent,
                     "state "},
                    {"so are the re-checks that it took", Kind::kEvent,
                     R"(retry_info {"is_success":true,"retry_time":2})"}},
       .expected_of_pc = {{"the state is reported as usable", Kind::kEvent, "state 0, "},
                          {"and is usable when asked for", Kind::kResult, "0, Bluetooth LE"}}},
      {.title = "Advertise",
       .act = [](Stage& stage) { Advertise(stage, "room 4.02"); },
       .expected = {{"the publisher starts", Kind::kEvent, R"(status_info {"status":1,"err":0})"},
                    {"and has started", Kind::kEvent, R"(status_info {"status":2,"err":0})"},
                    {"the data is sent", Kind::kRadio, R"(data "room 4.02")"}}},
      {.title = "Advertise the same again",
       .act = [](Stage& stage) { Advertise(stage, "room 4.02"); },
       .expected = {{"that is ignored with success", Kind::kResult, "0, "},
                    kNoEvent,
                    {"the data is still sent", Kind::kRadio, R"(data "room 4.02")"}}},
      {.title = "Advertise something else",
       .act = [](Stage& stage) { Advertise(stage, "room 4.07"); },
       .expected = {{"the publisher stops", Kind::kEvent, R"("status":3,)"},
                    {"has stopped", Kind::kEvent, R"("status":4,)"},
                    {"starts again", Kind::kEvent, R"("status":1,)"},
                    {"and has started", Kind::kEvent, R"("status":2,)"},
                    {"the new data is sent", Kind::kRadio, R"(data "room 4.07")"}}},
      {.title = "Advertise more than fits",
       .act = [](Stage& stage) { Advertise(stage, "thirteen byte"); },
       .expected = {{"that is refused", Kind::kResult, "8, "},
                    kNoEvent,
                    {"the earlier data is still sent", Kind::kRadio, R"(data "room 4.07")"}}},
      {.title = "Stop advertising",
       .act = StopAdvertising,
       .expected = {{"the publisher stops", Kind::kEvent, R"("status":3,)"},
                    {"and has stopped", Kind::kEvent, R"("status":4,)"},
                    {"nothing is sent", Kind::kRadio, "silent"}}},
      {.title = "Scan with periodic reports, two of them in this time",
       .act = ScanContinuously,
       .expected = {{"each report has three devices", Kind::kEvent, "device_json, 3 devices", 2},
                    {"a device by its service UUID", Kind::kDevice, "\"Projector\"", 2},
                    {"a device by its manufacturer data, with text", Kind::kDevice,
                     R"("Door panel"  data "room 4.02")", 2},
                    {"a device by its manufacturer data, with bytes", Kind::kDevice,
                     "data 0x017fff", 2},
                    {"no device of another UUID", Kind::kDevice, "Headphones", 0}}},
      {.title = "Scan without periodic reports, and ask once",
       .act = ScanOnRequest,
       .expected = {{"one report, with all three devices", Kind::kEvent, "device_json, 3 devices"},
                    {"and no other", Kind::kEvent, ""},
                    {"requests succeed", Kind::kResult, "0, ", 3}}},
      {.title = "Bluetooth is turned off and on again",
       .act = TurnRadioOffAndOn,
       .expected = {{"off is reported", Kind::kEvent, "state 5, "},
                    {"on is reported", Kind::kEvent, "state 0, "}},
       .changes_pc = true},
      {.title = "The radio is not discoverable for a while",
       .act = HideRadio,
       .expected = {{"whoever asks for that learns it", Kind::kResult, "6, "},
                    {"others do not mind", Kind::kResult, "0, ", 2}},
       .changes_pc = true},
      {.title = "The host takes Bluetooth LE support down and up",
       .act = TakeDownAndUp,
       .expected = {{"both succeed", Kind::kResult, "0, success", 2},
                    {"in between the state is: not initialised", Kind::kResult, "1, "},
                    kNoEvent}},
      {.title = "The host shuts down while it advertises",
       .act = ShutDown,
       .expected = {{"the data is sent", Kind::kRadio, R"(data "last words")"},
                    {"and is not after the shut-down", Kind::kRadio, "silent"}}},
  };
  return steps;
}

}  // namespace qvs_host
