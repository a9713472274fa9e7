#include "tests/plenar_ble_api/ble_library_test.h"

namespace {

std::string Number(auto value) {
  return std::to_string(static_cast<int>(value));
}

}  // namespace

BleLibraryTest::BleLibraryTest() {
  ble.radio->Reset();
  ble.radio->UseManualTime(now_ms);
  ble.radio->SetAir(plenar_ble_control::Air::kInProcess);
  EXPECT_EQ(ble.Init(0), 0);
  const auto note = [this](const std::string& text) {
    journal.Note(std::to_string(now_ms) + " " + text);
  };
  ble.SetStatusChangedCB([=](BlePublisherStatus status, BleError error) {
    note("status " + Number(status) + " error " + Number(error));
  });
  ble.SetReceivedBroadcastCB([=](const BleBroadcastInfo& info) { note("heard " + info.address); });
  ble.SetStoppedWatchBroadcastCB([=](BleError error) { note("stopped error " + Number(error)); });
}

void BleLibraryTest::AdvanceTo(std::uint64_t now) {
  for (auto next = ble.radio->NextDeadline(); next && *next <= now;
       next = ble.radio->NextDeadline()) {
    now_ms = *next;
    EXPECT_GT(ble.radio->AdvanceTo(now_ms), 0u);
  }
  now_ms = now;
  EXPECT_EQ(ble.radio->AdvanceTo(now), 0u);
}

BleBroadcastInfo BleLibraryTest::Device(const std::string& address) {
  BleBroadcastInfo info;
  info.address = address;
  info.rssi = -60;
  info.service_uuids = {"01234567-89ab-cdef-0123-456789abcdef"};
  info.manufacturer_data[0x7E51] = {1, 2, 3};
  return info;
}
