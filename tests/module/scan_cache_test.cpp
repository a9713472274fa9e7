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
    const auto events = Take(kEvent);
    if (events.empty()) return {"none"};
    EXPECT_EQ(events.size(), 1u);
    Lines addresses;
    for (const auto& record : nlohmann::json::parse(events[0].substr(events[0].find(' ')))) {
      addresses.push_back(record.at("device_id"));
    }
    return addresses;
  }
};

TEST_F(ScanCacheTest, KeepsBroadcastsThatCarryTheWatchedUuid) {
  Bytes longer = kUuidBytes, other = kUuidBytes;
  longer.push_back(7);
  other[15] ^= 1;
  const Bytes shorter(kUuidBytes.begin(), kUuidBytes.end() - 1);
  const std::string lower = "12345678-9abc-def0-1234-56789abcdef0";
  const std::string braces = '{' + lower + '}';
  const struct {
    const char* description;
    std::string watched;
    BleBroadcastInfo info;
    bool kept;
  } cases[] = {
      {"one of several", kUuid, Broadcast("m", {"x", kUuid, "y"}), true},
      {"any text at all", "no uuid", Broadcast("m", {"no uuid"}), true},
      {"other case", lower, Broadcast("m"), false},
      {"longer text", kUuid, Broadcast("m", {std::string(kUuid) + "0"}), false},
      {"shorter text", kUuid, Broadcast("m", {"12345678"}), false},
      {"nothing watched", "", Broadcast("m", {""}), false},
      {"nothing watched, zero data", "", WithCompanyData(kCompany, Bytes(16)), false},
      {"the data and more", kUuid, WithCompanyData(kCompany, longer), true},
      {"the data, other case", lower, WithCompanyData(kCompany, kUuidBytes), true},
      {"the data, in braces", braces, WithCompanyData(kCompany, kUuidBytes), true},
      {"15 bytes", kUuid, WithCompanyData(kCompany, shorter), false},
      {"other bytes", kUuid, WithCompanyData(kCompany, other), false},
      {"another company", kUuid, WithCompanyData(kCompany + 1, kUuidBytes), false},
      {"text that is no uuid", "-", WithCompanyData(kCompany, Bytes(16)), true},
  };
  for (const auto& [description, watched, info, kept] : cases) {
    Scan(watched, 0, false);
    Take();
    Hear(info);
    EXPECT_THAT(Take(), Contains(kFound + std::string("m")).Times(kept)) << description;
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
  EXPECT_THAT(
      Take(),
      ElementsAre(
          kFound + std::string("AA:BB"), "6 CheckIsGettingCache: is getting cache, callback",
          AllOf(testing::StartsWith("6 DoScanCallback: {"), HasSubstr("-32768"),
                HasSubstr("\"/w==\""), testing::EndsWith("]"), Not(HasSubstr("uuids"))),
          "device_json [{\"device_id\":\"AA:BB\",\"name\":\"\",\"is_connected\":false,"
          "\"connectable\":true,\"local_name\":\"caf\xC3\xA9 \\\"\\n\xEF\xBF\xBD\",\"rssi\":-32768,"
          "\"advertise_data\":[\"/w==\",\"AQID\",\"\"],"
          "\"uuids\":[\"MTIzNDU2NzgtOUFCQy1ERUYwLTEyMzQtNTY3ODlBQkNERUYw\",\"c2Vjb25k\"]}]"));
}

TEST_F(ScanCacheTest, ReportsTheLastBroadcastOfEachDeviceInTheByteOrderOfTheAddresses) {
  Scan(kUuid, 2, false);
  auto info = Broadcast("");
  for (const char* address : {"b", "a", "ab", "B", "\xC3\xA9", "z", "", "a", "b"}) {
    info.address = address;
    ++info.rssi;
    Hear(info);
  }
  Take();
  RunFor(500);
  std::string found;
  for (const auto& record : nlohmann::json::parse(Take(kEvent).at(0).substr(12))) {
    found += std::string(record.at("device_id")) + record.at("rssi").dump() + ' ';
  }
  EXPECT_EQ(found,
            "7 B4 a8 ab3 b9 z6 \xC3\xA9"
            "5 ");
}

TEST_F(ScanCacheTest, WhatAReportHoldsAndLeavesDependsOnTheSettings) {
  const struct {
    unsigned host_mode;
    bool continuous;
    Lines first, second;  // of "old", heard 21 s ago, and "new"; of what was left, and "next"
  } cases[] = {
      {0, true, {"new"}, {"next"}},
      {1, true, {"new", "old"}, {"next"}},
      {2, false, {"new", "old"}, {"next"}},
      {0, false, {"new"}, {"new", "next"}},
      {1, false, {"new", "old"}, {"new", "next", "old"}},
  };
  for (const auto& [host_mode, continuous, first, second] : cases) {
    SCOPED_TRACE(std::to_string(host_mode) + (continuous ? " continuous" : " on request"));
    Scan(kUuid, host_mode, continuous, 1'000'000);  // keeps the ticks out of the way
    Hear(Broadcast("old"));
    RunFor(21'000);
    EXPECT_EQ(Ask("new"), first);
    EXPECT_EQ(Ask("next"), second);
    Restart();
  }
}

TEST_F(ScanCacheTest, InMode0AnEntryLastsFor20Seconds) {
  const std::pair<std::int64_t, bool> cases[] = {{20, true}, {21, false}, {1000, false},
                                                 {0, true},  {-1, false}, {-1000, false}};
  for (const auto& [jump, kept] : cases) {
    Scan(kUuid, 0, false);
    Hear(Broadcast("a"));
    RunFor(20'000);
    Hear(Broadcast("a"));  // heard again, it is fresh again
    Hear(Broadcast("b"));
    time_->JumpWall(jump);
    EXPECT_EQ(Ask("c"), (kept ? Lines{"a", "b", "c"} : Lines{"c"})) << jump;
    Restart();
  }
}

TEST_F(ScanCacheTest, IsSweptAt30Entries) {
  const auto hear_from_to = [this](int from, int to) {
    for (int i = from; i < to; ++i) Hear(Broadcast(std::to_string(1000 + i)));
  };
  Scan(kUuid, 1, false);
  hear_from_to(0, 10);
  RunFor(1000);
  hear_from_to(10, 20);
  RunFor(20'000);
  hear_from_to(20, 29);
  EXPECT_THAT(Take(), Not(Contains(kSweep)));
  // The first ten are 21 s old now, the second ten 20 s.
  hear_from_to(29, 30);
  EXPECT_THAT(Take(), ElementsAre(kFound + std::string("1029"), kSweep));
  const auto left = Ask("x");
  EXPECT_EQ(left.size(), 21u);
  EXPECT_EQ(left.front(), "1010");
  // With none that can go, 30 and more stay, and each new broadcast tries again.
  hear_from_to(30, 50);
  EXPECT_THAT(Take(), Contains(kSweep).Times(12));
  EXPECT_EQ(Ask("x").size(), 41u);
}

TEST_F(ScanCacheTest, ARequestWaitsForTheNextBroadcast) {
  Scan(kUuid, 0, false);
  Hear(Broadcast("a"));
  Take();
  GetCache();
  GetCache();
  EXPECT_THAT(Take(), ElementsAre("6 GetBleScanCache: get ble scan cache", "ret 0",
                                  "6 GetBleScanCache: get ble scan cache", "ret 0"));
  Hear(Broadcast("b"));
  EXPECT_EQ(Reported(), (Lines{"a", "b"}));
  Hear(Broadcast("c"));
  EXPECT_EQ(Reported(), Lines{"none"}) << "one answer for both requests";
  listener_.on_event = [this](auto) { GetCache(); };
  EXPECT_EQ(Ask("d"), (Lines{"a", "b", "c", "d"}));
  Hear(Broadcast("a"));
  EXPECT_EQ(Reported(), (Lines{"a", "b", "c", "d"})) << "asked for inside the report";
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
    GetCache();  // goes on waiting for the next broadcast
    Take();
    Scan(kUuid, to, continuous, 1'000'000);
    EXPECT_EQ(Reported(), reports ? Lines{"a"} : Lines{"none"});
    Hear(Broadcast("b"));
    EXPECT_EQ(Reported(), left);
    Restart();
  }
}

TEST_F(ScanCacheTest, InsideAReportOfAModeChangeThereIsNoOther) {
  for (int round = 0; round < 2; ++round) {
    Scan(kUuid, 0, false);
    Hear(Broadcast("a"));
    // Each change from mode 0 to 1 makes a report: inside one that would have no end.
    listener_.on_event = [this](auto) {
      Scan(kUuid, 0, false);
      Scan(kUuid, 2, false);
    };
    Take();
    Scan(kUuid, 2, false);
    EXPECT_EQ(Reported(), Lines{"a"});
  }
  listener_.on_event = nullptr;
  Scan(kUuid, 0, false);
  listener_.on_event = [this](auto) {
    listener_.on_event = nullptr;
    Scan(kUuid, 2, false);
  };
  GetCache();
  Take();
  Hear(Broadcast("a"));
  EXPECT_THAT(Take(kEvent), testing::SizeIs(2)) << "inside another report it is made";
}

TEST_F(ScanCacheTest, WithoutADelegateTheCacheIsKept) {
  Scan(kUuid, 2, false);
  Hear(Broadcast("a"));
  DestroyService(CreateService());
  RunFor(500);
  EXPECT_THAT(Take(kEvent), IsEmpty());
  Init(0);
  EXPECT_EQ(Ask("b"), (Lines{"a", "b"}));
}

}  // namespace
}  // namespace qvs_test
