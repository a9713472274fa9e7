#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include <gmock/gmock.h>

#include "air/datagram.h"
#include "air/text.h"
#include "tests/plenar_ble_api/radio_user.h"
#include "virtual/virtual_radio.h"

namespace {

constexpr plenar_ble_control::ReportDelays kSlow{10, 20, 30, 40, 150};
constexpr std::uint8_t kData[]{1, 2, 3, 4};

auto& radio = plenar_ble::VirtualRadio::Instance();

void PutOnAir(const std::string& address, std::uint64_t interval_ms) {
  const char* const uuid = "01234567-89ab-cdef-0123-456789abcdef";
  radio.PutOnAir({address, "", -60, {uuid}, false, 0, {{0x7E51, {1, 2, 3}}}, {}}, interval_ms);
}

/// The library initialised in manual time, which starts at 1000 ms, on the in-process air, with
/// callables that note each report and when it came: "1030 status 2/0" with its error.
class RadioTest : public testing::Test {
 protected:
  void SetUp() override {
    now_ms = 1000;
    radio.Reset();
    radio.UseManualTime(now_ms);
    radio.SetAir(plenar_ble_control::Air::kInProcess);
    EXPECT_EQ(BleInit(0), 0);
    BleServerSetStatusChangedCB([this](BlePublisherStatus status, BleError error) {
      Note("status " + Number(status) + "/" + Number(error));
      throw std::runtime_error("none of the library's business");
    });
    BleClientSetReceivedBroadcastCB([this](const auto& info) { Note("heard " + info.address); });
    BleClientSetStoppedWatchBroadcastCB([this](auto error) { Note("stopped/" + Number(error)); });
  }
  void TearDown() override { radio.Reset(); }

  static std::string Number(auto value) { return std::to_string(static_cast<int>(value)); }
  void Note(const std::string& text) { journal.Note(std::to_string(now_ms) + " " + text); }

  void AdvanceTo(std::uint64_t now) {
    radio.AdvanceTo(now_ms);
    while (now_ms < now) radio.AdvanceTo(++now_ms);
  }

  /// A function that was told to throw or to fail does nothing else.
  template <typename Call>
  void Check(const std::string& name, Call call) {
    radio.ThrowFrom(name, 1);
    EXPECT_THROW(call(), std::runtime_error);
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
    } else {
      radio.SetResult(name, 17);
      EXPECT_EQ(static_cast<int>(call()), 17) << name;
    }
    EXPECT_EQ(journal.Take(), name + "; " + name + "; ");
  }

  std::uint64_t now_ms = 0;
  Journal journal;
};

const std::map<std::string, void (*)()> kDeeds{
    {"slow", [] { radio.SetReportDelays(kSlow); }},
    {"silence", [] { radio.SetAutomaticReports(false); }},
    {"uninit", [] { BleUnInit(); }},
    {"start", [] { EXPECT_EQ(Advertise("x"), 0); }},
    {"refused", [] { EXPECT_NE(Advertise("x"), 0); }},
    {"stop", [] { BleServerStopBroadcast(); }},
    {"watch", [] { EXPECT_EQ(BleClientStartWatchBroadcast(), 0); }},
    {"deaf", [] { EXPECT_NE(BleClientStartWatchBroadcast(), 0); }},
    {"unwatch", [] { BleClientStopWatchBroadcast(); }},
    {"put_A", [] { PutOnAir("A", 100); }},
    {"put_B", [] { PutOnAir("B", 70); }},
};

/// What is done and what is reported, in order, each with its time.
const std::string kScenarios[]{
    "1000 start; 1000 status 1/0; 1000 status 2/0; 1001 stop; 1001 status 3/0; 1001 status 4/0; ",
    // Each start is refused until the publisher has stopped.
    ("1000 slow; 1000 start; 1000 refused; 1010 status 1/0; 1030 status 2/0; "
     "1100 refused; 1100 stop; 1100 stop; 1130 status 3/0; 1140 refused; 1170 status 4/0; "
     "1180 start; 1190 status 1/0; 1210 status 2/0; "),
    // A stop withdraws the reports of a start; one of nothing is no obstacle to a start.
    "1000 slow; 1000 start; 1010 status 1/0; 1015 stop; 1045 status 3/0; 1085 status 4/0; ",
    "1000 stop; 1000 status 4/0; 1080 stop; 1080 start; 1080 status 1/0; 1080 status 2/0; ",
    "1000 silence; 1000 start; 1001 stop; 1001 start; 1001 refused; 1002 watch; 1002 unwatch; ",
    "1000 start; 1000 watch; 1000 uninit; 1000 refused; 1000 deaf; 1000 stop; 1000 unwatch; ",
    // Devices are heard at once and then at their intervals.
    ("1000 put_A; 1050 watch; 1050 put_B; 1050 heard A; 1050 heard B; 1060 watch; 1120 heard B; "
     "1150 heard A; 1190 heard B; 1210 put_A; 1210 heard A; 1260 heard B; 1310 heard A; 1330 heard "
     "B; "
     "1350 unwatch; 1350 stopped/0; "),
    "1000 slow; 1000 watch; 1000 unwatch; 1000 watch; 1150 stopped/0; ",
};

TEST_F(RadioTest, DoesAndReportsInOrder) {
  for (const std::string& scenario : kScenarios) {
    SetUp();
    std::istringstream lines(scenario);
    for (std::string line; std::getline(lines >> std::ws, line, ';');) {
      const auto deed = kDeeds.find(line.substr(line.find(' ') + 1));
      if (deed == kDeeds.end()) continue;
      if (const auto time = std::stoull(line); time > now_ms) AdvanceTo(time);
      Note(deed->first);
      deed->second();
    }
    AdvanceTo(1500);
    EXPECT_EQ(journal.Take(), scenario);
  }
}

TEST_F(RadioTest, CallablesMayCallTheLibrary) {
  BleServerSetStatusChangedCB([&](BlePublisherStatus status, BleError) {
    Note("status " + Number(status));
    if (status == BlePublisherStatus::kStopped) Advertise("again");
    if (status != BlePublisherStatus::kStarting) return;
    BleUnInit();
    EXPECT_EQ(BleInit(0), 0);
  });
  EXPECT_EQ(Advertise("x"), 0);
  BleServerStopBroadcast();
  AdvanceTo(1100);
  EXPECT_EQ(journal.Take(), "1000 status 3; 1000 status 4; 1000 status 1; ");
}

#define CHECK(function, ...) Check(#function, [] { return function(__VA_ARGS__); })

TEST_F(RadioTest, EveryFunctionIsObservedThrowsAndFailsAsItIsTold) {
  radio.SetCallObserver([&](auto name, const auto&) { journal.Note(std::string(name)); });
  BleServerAddManufacturerData(1, kData, 1);
  journal.Take();
  CHECK(BleInit, 0);
  CHECK(BleSetLogFunc, {});
  CHECK(BleCheckState);
  CHECK(BleClientSetScanMode, 1);
  CHECK(BleClientSetReceivedBroadcastCB, {});
  CHECK(BleClientSetStoppedWatchBroadcastCB, {});
  CHECK(BleClientStopWatchBroadcast);
  CHECK(BleClientStartWatchBroadcast);
  CHECK(BleServerAddManufacturerData, 1, kData, 1);
  CHECK(BleServerSetStatusChangedCB, {});
  CHECK(BleServerStopBroadcast);
  CHECK(BleServerStartBroadcast);
  EXPECT_FALSE(radio.IsWatching() || radio.Advertising());
  CHECK(BleUnInit);
}

TEST(Radio, CallsNoCallableAfterUnInitOrAfterItWasWithdrawn) {
  radio.SetAir(plenar_ble_control::Air::kInProcess);
  radio.PutOnAir({}, 1);
  const std::jthread reporter([](const std::stop_token& stop) {
    while (!stop.stop_requested()) radio.ReportPublisherStatus({}, {});
  });
  for (int round = 0; round < 50; ++round) {
    // Not atomic on purpose: a callable that overlaps what follows its end is a data race.
    int heard = 0, reported = 0;
    Journal journal;
    EXPECT_TRUE(BleInit(0) == 0 && BleClientStartWatchBroadcast() == 0);
    BleClientSetReceivedBroadcastCB(
        [&](auto&&) { journal.Note("heard " + std::to_string(++heard)); });
    BleServerSetStatusChangedCB(
        [&](auto, auto) { journal.Note("reported " + std::to_string(++reported)); });
    EXPECT_TRUE(journal.WaitFor("heard 1") && journal.WaitFor("reported 1"));
    if (round % 2 == 0) BleUnInit();
    BleClientSetReceivedBroadcastCB({});
    BleServerSetStatusChangedCB({});
    EXPECT_GT(heard * reported, 0);
  }
  radio.Reset();
}

/// Others may be on the machine's air at the same time: what is sent here names this process.
TEST(Radio, SharesTheAirWithTheProcessesOfTheMachine) {
  const std::string id = plenar_ble::HexText(plenar_ble::OwnAddress());
  Journal journal;
  radio.SetAutomaticReports(false);
  BleClientSetReceivedBroadcastCB([&, heard = 0](const BleBroadcastInfo& info) mutable {
    journal.Note(TextOf(info));
    if (TextOf(info) != id + "_peer" || ++heard > 2) return;
    BleClientStopWatchBroadcast();
    BleServerStopBroadcast();
    EXPECT_EQ(Advertise(id + (heard == 1 ? "_again" : "_answer")), 0);
    EXPECT_EQ(BleClientStartWatchBroadcast(), 0);
  });
  ASSERT_TRUE(BleInit(0) == 0 && BleClientStartWatchBroadcast() == 0);
  EXPECT_EQ(Advertise(id + "_own"), 0);
  EXPECT_EQ(std::system((AIR_PEER_PATH " " + id + "_peer " + id + "_answer").c_str()), 0);
  BleUnInit();
  EXPECT_THAT(journal.Take(), testing::Not(testing::HasSubstr(id + "_own"))) << "it hears itself";
}

}  // namespace
