// What only the virtual radio does: exact times, what it is told to do, and its air.

#include <cstdlib>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/plenar_ble_api/radio_under_test.h"

namespace {

using plenar_ble_control::ScriptedFailure;

/// The library initialised in manual time on the in-process air, with callables that note each
/// report and when it came.
class VirtualRadio : public testing::Test {
 protected:
  VirtualRadio() { api.control.SelectRadio(plenar_ble_control::RadioKind::kVirtual); }
  ~VirtualRadio() override { api.control.Reset(); }

  void Init() {
    now_ms = 0;
    api.control.Reset();
    api.control.UseManualTime(now_ms);
    api.control.SetAir(plenar_ble_control::Air::kInProcess);
    api.control.SetReportDelays(plenar_ble_control::ReportDelays{10, 20, 30, 40, 150});
    EXPECT_EQ(api.BleInit(0), 0);
    api.BleServerSetStatusChangedCB([this](BlePublisherStatus status, BleError error) {
      EXPECT_EQ(error, BleError::kNone);
      Note("status " + std::to_string(static_cast<int>(status)));
    });
    api.BleClientSetReceivedBroadcastCB(
        [this](const auto& info) { Note("heard " + info.address); });
    api.BleClientSetStoppedWatchBroadcastCB([this](auto) { Note("stopped"); });
  }

  void Note(const std::string& text) { journal.Note(std::to_string(now_ms) + ' ' + text); }

  void AdvanceTo(std::uint64_t now) {
    for (; now_ms <= now; ++now_ms) api.control.AdvanceTo(now_ms);
    now_ms = now;
  }

  BleApi api;
  Journal journal;
  std::uint64_t now_ms = 0;
};

struct Deed {
  std::uint64_t at_ms;
  void (*act)(const BleApi& api);
};

void PutA(const BleApi& api) {
  BleBroadcastInfo info;
  info.address = 'A';
  api.control.PutOnAir(info, 100);
}
void PutB(const BleApi& api) {
  BleBroadcastInfo info;
  info.address = 'B';
  api.control.PutOnAir(info, 70);
}
void Quiet(const BleApi& api) {
  api.control.SetReportDelays(std::nullopt);
}

TEST_F(VirtualRadio, ReportsWhenItIsToldTo) {
  const std::pair<std::vector<Deed>, std::string> lives[]{
      {{{0, Start}, {100, Stop}, {110, Stop}},
       "10 status 1; 30 status 2; 130 status 3; 170 status 4; "},
      // What was not reported yet is withdrawn.
      {{{0, Start}, {15, Stop}}, "10 status 1; 45 status 3; 85 status 4; "},
      {{{0, Start}, {15, Start}}, "10 status 1; 25 status 1; 45 status 2; "},
      {{{0, Stop}, {60, Start}}, "70 status 1; 90 status 2; "},
      {{{0, Quiet}, {1, Start}, {2, Stop}, {3, Watch}, {4, Unwatch}}, ""},
      // Devices are heard at once and then at their intervals.
      {{{0, PutA}, {50, Watch}, {60, PutB}, {155, PutA}, {260, Unwatch}},
       "50 heard A; 60 heard B; 130 heard B; 150 heard A; 155 heard A; 200 heard B; 255 heard A; "
       "410 stopped; "},
      {{{0, Watch}, {1, Unwatch}, {2, Watch}}, "151 stopped; "},
  };
  for (const auto& [deeds, reports] : lives) {
    Init();
    for (const auto& [at_ms, act] : deeds) {
      AdvanceTo(at_ms);
      act(api);
    }
    AdvanceTo(500);
    EXPECT_EQ(journal.Take(), reports);
  }
}

TEST_F(VirtualRadio, EveryFunctionIsObservedThrowsAndFailsAsItIsTold) {
  Init();
  const std::uint8_t data[]{1, 2};
  const std::pair<std::string, std::function<int()>> calls[]{
      {"BleInit(reserved=0)", [&] { return api.BleInit(0); }},
      {"BleSetLogFunc(callable=empty)", [&] { return api.BleSetLogFunc({}), 17; }},
      {"BleCheckState()", [&] { return static_cast<int>(api.BleCheckState()); }},
      {"BleClientSetScanMode(mode=1)", [&] { return api.BleClientSetScanMode(1), 17; }},
      {"BleClientSetReceivedBroadcastCB(callable=empty)",
       [&] { return api.BleClientSetReceivedBroadcastCB({}), 17; }},
      {"BleClientSetStoppedWatchBroadcastCB(callable=set)",
       [&] { return api.BleClientSetStoppedWatchBroadcastCB([](auto) {}), 17; }},
      {"BleClientStopWatchBroadcast()", [&] { return api.BleClientStopWatchBroadcast(), 17; }},
      {"BleClientStartWatchBroadcast()", [&] { return api.BleClientStartWatchBroadcast(); }},
      {"BleServerAddManufacturerData(company=0x7E51 data=0102)",
       [&] { return api.BleServerAddManufacturerData(0x7E51, data, 2); }},
      {"BleServerSetStatusChangedCB(callable=empty)",
       [&] { return api.BleServerSetStatusChangedCB({}), 17; }},
      {"BleServerStopBroadcast()", [&] { return api.BleServerStopBroadcast(), 17; }},
      {"BleServerStartBroadcast()", [&] { return api.BleServerStartBroadcast(); }},
      {"BleUnInit()", [&] { return api.BleUnInit(), 17; }},
  };
  api.control.SetCallObserver([&](std::string_view name, const std::string& arguments) {
    journal.Note(std::string(name) + '(' + arguments + ')');
  });
  for (const auto& [text, call] : calls) {
    const std::string name = text.substr(0, text.find('('));
    api.control.ThrowFrom(name);
    EXPECT_THROW(call(), ScriptedFailure) << text;
    api.control.SetResult(name, 17);
    EXPECT_EQ(call(), 17) << text;
    EXPECT_EQ(journal.Take(), text + "; " + text + "; ");
  }
  EXPECT_FALSE(api.control.Advertising() || api.control.NextDeadline());
  EXPECT_THROW(api.control.SetResult("BleUninit", 1), std::invalid_argument);
}

/// Others may be on the machine's air at the same time: what is sent here carries a number.
TEST_F(VirtualRadio, SharesTheAirWithTheProcessesOfTheMachine) {
  const std::string id = std::to_string(std::random_device()());
  api.control.SetReportDelays(std::nullopt);
  api.BleClientSetReceivedBroadcastCB([&, heard = 0](const BleBroadcastInfo& info) mutable {
    const auto& data = info.manufacturer_data.begin()->second;
    const std::string text(data.begin(), data.end());
    EXPECT_NE(text, id + "_own") << "it hears itself";
    if (text != id + "_peer" || ++heard > 2) return;
    EXPECT_EQ(info.local_name.substr(14, 2) + info.local_name.substr(16, 2),
              info.address.substr(6, 2) + info.address.substr(9, 2));
    api.BleClientStopWatchBroadcast();
    api.BleServerStopBroadcast();
    EXPECT_EQ(api.Advertise(id + (heard == 1 ? "_again" : "_answer")), 0);
    EXPECT_EQ(api.BleClientStartWatchBroadcast(), 0);
  });
  ASSERT_TRUE(api.BleInit(0) == 0 && api.BleClientStartWatchBroadcast() == 0);
  EXPECT_EQ(api.Advertise(id + "_own"), 0);
  EXPECT_EQ(std::system((AIR_PEER_PATH " " + id + "_peer " + id + "_answer").c_str()), 0);
}

}  // namespace
