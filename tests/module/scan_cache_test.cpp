// What becomes of received broadcasts: matching, caching, ageing, reporting.
#include <limits>

#include <nlohmann/json.hpp>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kSweep[] = "6 operator (): scan caches more than 30, clear expired cache";

BleBroadcastInfo WithCompanyData(std::uint16_t company, Bytes data) {
  auto info = Broadcast("m", {});
  info.manufacturer_data[company] = std::move(data);
  return info;
}

class ScanCacheTest : public ServiceTest {
 protected:
  /// Asks for the cache, lets `trigger` be heard, and gives the addresses that are reported.
  Lines Ask(const std::string& trigger) {
    GetCache();
    Take();
    Hear(Broadcast(trigger));
    return Reported();
  }

  /// The addresses of the one report that was made; "none" if there was none.
  Lines Reported() {
    Lines addresses;
    const auto events = Take(kEvent);
    if (events.empty()) return {"none"};
    EXPECT_EQ(events.size(), 1u);
    for (const auto& record : nlohmann::json::parse(events[0].substr(events[0].find(' ')))) {
      addresses.push_back(record.at("device_id"));
    }
    return addresses;
  }
};

TEST_F(ScanCacheTest, KeepsBroadcastsThatCarryTheWatchedUuid) {
  Bytes longer = kUuidBytes, shorter = kUuidBytes, other = kUuidBytes;
  longer.push_back(7);
  shorter.pop_back();
  other[15] ^= 1;
  const std::string lower = "12345678-9abc-def0-1234-56789abcdef0";
  const struct {
    const char* description;
    std::string watched;
    BleBroadcastInfo info;
    bool kept;
  } cases[] = {
      {"the text", kUuid, Broadcast("m"), true},
      {"one of several", kUuid, Broadcast("m", {"x", kUuid, "y"}), true},
      {"any text at all", "no uuid", Broadcast("m", {"no uuid"}), true},
      {"other case", lower, Broadcast("m"), false},
      {"longer text", kUuid, Broadcast("m", {std::string(kUuid) + "0"}), false},
      {"shorter text", kUuid, Broadcast("m", {"12345678"}), false},
      {"no uuid", kUuid, Broadcast("m", {}), false},
      {"nothing watched", "", Broadcast("m", {""}), false},
      {"nothing watched, zero data", "", WithCompanyData(kCompany, Bytes(16)), false},
      {"the data", kUuid, WithCompanyData(kCompany, kUuidBytes), true},
      {"the data, other case", lower, WithCompanyData(kCompany, kUuidBytes), true},
      {"the data and more", kUuid, WithCompanyData(kCompany, longer), true},
      {"15 bytes", kUuid, WithCompanyData(kCompany, shorter), false},
      {"other bytes", kUuid, WithCompanyData(kCompany, other), false},
      {"another company", kUuid, WithCompanyData(kCompany + 1, kUuidBytes), false},
      {"in braces", "{12345678-9ABC-DEF0-1234-56789ABCDEF0}", WithCompanyData(kCompany, kUuidBytes),
       true},
      {"text that is no uuid", "-", WithCompanyData(kCompany, Bytes(16)), true},
  };
  for (const auto& [description, watched, info, kept] : cases) {
    Scan(watched, 0, false);
    EXPECT_THAT(After([this, &heard = info] { Hear(heard); }),
                Reads(kept ? Lines{std::string(kFound) + "m"} : Lines{}))
        << description;
  }
}

TEST_F(ScanCacheTest, ReportsEveryFieldOfADevice) {
  Scan(kUuid, 0, false);
  auto info = Broadcast("AA:BB", {kUuid, "second"});
  info.local_name = "caf\xC3\xA9 \"\n\xFF";
  info.rssi = std::numeric_limits<std::int16_t>::min();
  info.connectable = true;
  info.manufacturer_data = {{0x7E51, {1, 2, 3}}, {0x0001, {0xFF}}, {0xFFFF, {}}};
  info.data_sections = {{9, {9}}};
  GetCache();
  Take();
  Hear(info);
  const auto lines = Take();
  EXPECT_THAT(lines.at(2), testing::Not(testing::HasSubstr("uuids")));
  EXPECT_THAT(
      lines,
      Reads({std::string(kFound) + "AA:BB", "6 CheckIsGettingCache: is getting cache, callback",
             "6 DoScanCallback: {*\"AA:BB\"*\"rssi\"*-32768*\"/w==\"*}[*\"/w==\"*]",
             "device_json "
             "[{\"device_id\":\"AA:BB\",\"name\":\"\",\"is_connected\":false,"
             "\"connectable\":true,\"local_name\":\"caf\xC3\xA9 "
             "\\\"\\n\xEF\xBF\xBD\",\"rssi\":-32768,\"advertise_data\":[\"/w==\",\"AQID\",\"\"],"
             "\"uuids\":[\"MTIzNDU2NzgtOUFCQy1ERUYwLTEyMzQtNTY3ODlBQkNERUYw\",\"c2Vjb25k\"]}]"}));
}

TEST_F(ScanCacheTest, ReportsTheLastBroadcastOfEachDeviceInTheByteOrderOfTheAddresses) {
  Scan(kUuid, 2, false);
  auto info = Broadcast("");
  for (const char* address : {"b", "a", "ab", "B", "\xC3\xA9", "z", "", "a", "b"}) {
    info.address = address;
    ++info.rssi;
    Hear(info);
  }
  EXPECT_THAT(After([&] { RunFor(500); }, kEvent),
              Reads({"device_json [{\"device_id\":\"\",*\"rssi\":7,*{*:\"B\",*:4,*{*"
                     ":\"a\",*:8,*{*:\"ab\",*:3,*{*:\"b\",*:9,*{*:\"z\",*:6,*{*:"
                     "\"\xC3\xA9\",*:5,*]"}));
}

TEST_F(ScanCacheTest, WhatAReportHoldsAndLeavesDependsOnTheSettings) {
  const struct {
    unsigned host_mode;
    bool continuous, ticks;
    Lines first, second;  // of "old", heard 21 s ago, and "new"; of what was left, and "next"
  } cases[] = {
      {0, true, true, {"new"}, {"next"}},
      {1, true, true, {"new", "old"}, {"next"}},
      {2, true, true, {"new", "old"}, {"next"}},
      {2, false, true, {"new", "old"}, {"next"}},
      {0, false, false, {"new"}, {"new", "next"}},
      {1, false, false, {"new", "old"}, {"new", "next", "old"}},
  };
  for (const auto& [host_mode, continuous, ticks, first, second] : cases) {
    SCOPED_TRACE(std::to_string(host_mode) + (continuous ? " continuous" : " on request"));
    // The long interval keeps the ticks out of the way.
    Scan(kUuid, host_mode, continuous, 1'000'000);
    Hear(Broadcast("old"));
    RunFor(21'000);
    EXPECT_EQ(Ask("new"), first);
    EXPECT_EQ(Ask("next"), second);
    EXPECT_EQ(!After([&] { RunFor(1'000'000); }, kEvent).empty(), ticks);
    Restart();
  }
}

TEST_F(ScanCacheTest, InMode0AnEntryLastsFor20Seconds) {
  const std::pair<std::int64_t, bool> cases[] = {{20, true}, {21, false}, {-1, false}, {0, true}};
  for (const auto& [jump, kept] : cases) {
    Scan(kUuid, 0, false);
    Hear(Broadcast("a"));
    time_->JumpWall(jump);
    EXPECT_EQ(Ask("b"), (kept ? Lines{"a", "b"} : Lines{"b"})) << jump;
    Restart();
  }
}

TEST_F(ScanCacheTest, ADeviceHeardAgainIsFreshAgain) {
  Scan(kUuid, 0, false);
  for (int i = 0; i < 3; ++i) {
    Hear(Broadcast("a"));
    RunFor(15'000);
  }
  EXPECT_EQ(Ask("b"), (Lines{"a", "b"}));
}

TEST_F(ScanCacheTest, IsSweptAt30Entries) {
  const auto fill = [this](int from, int to) {
    for (int i = from; i < to; ++i) Hear(Broadcast(std::to_string(1000 + i)));
  };
  Scan(kUuid, 1, false);
  fill(0, 10);
  RunFor(1000);
  fill(10, 20);
  RunFor(20'000);
  fill(20, 29);
  EXPECT_THAT(Take(), testing::Not(Holds({kSweep})));
  // The first ten are 21 s old now, the second ten 20 s.
  fill(29, 30);
  EXPECT_THAT(Take(), Reads({std::string(kFound) + "1029", kSweep}));
  const auto left = Ask("x");
  EXPECT_EQ(left.size(), 21u);
  EXPECT_EQ(left.front(), "1010");
  // With none that can go, 30 and more stay, and each new broadcast tries again.
  fill(30, 50);
  Take();
  fill(49, 50);
  EXPECT_THAT(Take(), Reads({std::string(kFound) + "1049", kSweep}));
  EXPECT_EQ(Ask("x").size(), 41u);
}

TEST_F(ScanCacheTest, TheSweepFollowsTheClockWhereverItJumps) {
  Scan(kUuid, 1, false);
  for (const std::int64_t jump : {1000, -1000, -1, 21}) {
    for (int i = 0; i < 29; ++i) Hear(Broadcast("before " + std::to_string(i)));
    time_->JumpWall(jump);
    EXPECT_EQ(Ask("after"), Lines{"after"}) << jump;
    time_->JumpWall(100);
  }
}

TEST_F(ScanCacheTest, ARequestWaitsForTheNextBroadcast) {
  Scan(kUuid, 0, false);
  Hear(Broadcast("a"));
  Take();
  GetCache();
  GetCache();
  EXPECT_THAT(Take(), Reads({"6 GetBleScanCache: get ble scan cache", "ret 0",
                             "6 GetBleScanCache: get ble scan cache", "ret 0"}));
  EXPECT_THAT(After([&] { RunFor(5000); }, kEvent), Reads({}));
  Hear(Broadcast("b"));
  EXPECT_EQ(Reported(), (Lines{"a", "b"}));
  Hear(Broadcast("c"));
  EXPECT_EQ(Reported(), Lines{"none"}) << "one answer for both requests";
}

TEST_F(ScanCacheTest, TheChangeFromMode0To1Reports) {
  const struct {
    unsigned from, to;
    bool continuous, reports;
    Lines left;
  } cases[] = {
      {0, 2, false, true, {"a", "b"}},  {7, 2, true, true, {"b"}},
      {0, 1, false, false, {"a", "b"}}, {1, 2, false, false, {"a", "b"}},
      {2, 2, false, false, {"a", "b"}},
  };
  for (const auto& [from, to, continuous, reports, left] : cases) {
    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
    Scan(kUuid, from, false, 1'000'000);
    Hear(Broadcast("a"));
    GetCache();  // Goes on waiting for the next broadcast.
    Take();
    Scan(kUuid, to, continuous, 1'000'000);
    EXPECT_EQ(Reported(), reports ? Lines{"a"} : Lines{"none"});
    Hear(Broadcast("b"));
    EXPECT_EQ(Reported(), left);
    Restart();
  }
}

TEST_F(ScanCacheTest, WithoutADelegateTheCacheIsKept) {
  Scan(kUuid, 2, false);
  Hear(Broadcast("a"));
  auto* const second = CreateService();
  DestroyService(second);
  EXPECT_THAT(After([&] { RunFor(500); }, kEvent), Reads({}));
  Init(0);
  EXPECT_EQ(Ask("b"), (Lines{"a", "b"}));
}

}  // namespace
}  // namespace qvs_test
