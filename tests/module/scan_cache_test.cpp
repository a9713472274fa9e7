// What becomes of received broadcasts: matching, caching, ageing, reporting; on the library's
// threads, and on the main looper thread.
#include <atomic>
#include <limits>
#include <map>
#include <random>
#include <thread>

#include <nlohmann/json.hpp>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using ScanCacheStory = StoryTest<ServiceTest>;

class ScanCacheTest : public ServiceTest {
 protected:
  /// Asks for the cache, lets `trigger` be heard, and gives the devices that are reported.
  std::vector<std::string> Ask(const std::string& trigger) {
    GetCache();
    Take();
    Hear(Broadcast(trigger));
    const auto events = Take(kEvent);
    EXPECT_EQ(events.size(), 1u);
    std::vector<std::string> devices;
    for (const auto& device : nlohmann::json::parse(events.at(0).substr(sizeof("device_json")))) {
      devices.push_back(device["device_id"]);
    }
    return devices;
  }
};

TEST_F(ScanCacheTest, KeepsBroadcastsThatCarryTheWatchedUuid) {
  const auto with_data = [](std::uint16_t company, Bytes data) {
    auto info = Broadcast("m", {});
    info.manufacturer_data[company] = std::move(data);
    return info;
  };
  Bytes longer = kUuidBytes, other = kUuidBytes;
  longer.push_back(7);
  other[15] ^= 1;
  const Bytes shorter(kUuidBytes.begin(), kUuidBytes.end() - 1);
  const std::string lower = "12345678-9abc-def0-1234-56789abcdef0";
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
      {"nothing watched", "", Broadcast("m", {""}), false},
      {"nothing watched, zero data", "", with_data(kCompany, Bytes(16)), false},
      {"the data and more", kUuid, with_data(kCompany, longer), true},
      {"the data, other case, braces, more dashes", "{-12345678}" + lower.substr(8),
       with_data(kCompany, kUuidBytes), true},
      {"15 bytes", kUuid, with_data(kCompany, shorter), false},
      {"other bytes", kUuid, with_data(kCompany, other), false},
      {"another company", kUuid, with_data(kCompany + 1, kUuidBytes), false},
      {"text that is no uuid", "-", with_data(kCompany, Bytes(16)), true},
  };
  for (const auto& [description, watched, info, kept] : cases) {
    Scan(watched, 0, false);
    Take();
    Hear(info);
    EXPECT_EQ(Take().size(), kept) << description;
  }
}

TEST_F(ScanCacheStory, ReportsEveryFieldOfADevice) {
  auto info = Broadcast("AA:BB", {kUuid, "second"});
  info.local_name = "caf\xC3\xA9 \"\n\xFF";
  info.rssi = std::numeric_limits<std::int16_t>::min();
  info.connectable = true;
  info.manufacturer_data = {{0x7E51, {1, 2, 3}}, {0x0001, {0xFF}}, {0xFFFF, {}}};
  info.data_sections = {{9, {9}}};
  Scan(kUuid, 0, false);
  GetCache();
  Take();
  Hear(info);
}

TEST_F(ScanCacheStory, ReportsTheLastBroadcastOfEachDeviceInTheByteOrderOfTheAddresses) {
  Scan(kUuid, 2, false);
  auto info = Broadcast("");
  for (const char* address : {"b", "a", "ab", "B", "\xC3\xA9", "z", "", "a", "b"}) {
    info.address = address;
    ++info.rssi;
    Hear(info);
  }
  Wait(500);
  kinds_ = kEvent;
}

TEST_F(ScanCacheStory, WhatAReportHoldsAndLeavesDependsOnTheSettings) {
  const std::pair<unsigned, bool> settings[] = {
      {0, true}, {1, true}, {2, false}, {0, false}, {1, false}};
  for (const auto& [host_mode, continuous] : settings) {
    Note("mode " + std::to_string(host_mode) + (continuous ? ", continuous" : ", on request"));
    Unrecorded([&, mode = host_mode, without_end = continuous] {
      Scan(kUuid, mode, without_end, 1'000'000);  // keeps the ticks out of the way
      Hear(Broadcast("old"));
      RunFor(21'000);
    });
    for (const char* address : {"new", "next"}) {
      GetCache();
      Hear(Broadcast(address));
    }
    Restart();
  }
  kinds_ = kEvent | kNote;
}

TEST_F(ScanCacheTest, HoldsWhatAMapWouldWhateverTheClockDoes) {
  std::map<std::string, std::uint64_t> expected;  // when each device was heard last
  std::mt19937 random(20);
  Scan(kUuid, 0, false);
  for (int round = 0; round < 1000; ++round) {
    time_->JumpWall(static_cast<int>(random() % 9) - 3);
    const auto now = time_->WallSeconds();
    const auto address = std::string(random() % 2 * 30, 'x') + std::to_string(random() % 25);
    expected[address] = now;
    const bool asks = random() % 4 == 0;
    if (asks || expected.size() >= 30) {
      std::erase_if(expected, [&](const auto& entry) { return now - entry.second > 20; });
    }
    if (asks) {
      std::vector<std::string> addresses;
      for (const auto& [text, heard] : expected) addresses.push_back(text);
      EXPECT_EQ(Ask(address), addresses) << round;
    } else {
      Hear(Broadcast(address));
    }
  }
}

TEST_F(ScanCacheTest, IsSweptAt30Entries) {
  const auto hear_from_to = [this](int from, int to) {
    for (int i = from; i < to; ++i) Hear(Broadcast(std::to_string(i)));
  };
  const auto swept = Contains("6 operator (): scan caches more than 30, clear expired cache");
  Scan(kUuid, 1, false);
  hear_from_to(0, 10);
  RunFor(1000);
  hear_from_to(10, 20);
  RunFor(20'000);
  hear_from_to(20, 29);
  EXPECT_THAT(Take(), swept.Times(0));
  // The first ten are 21 s old now, the second ten 20 s.
  hear_from_to(29, 30);
  EXPECT_THAT(Take(), swept.Times(1));
  EXPECT_EQ(Ask("30").size(), 21u);
  // With none that can go, 30 and more stay, and each new broadcast tries again.
  hear_from_to(31, 50);
  EXPECT_THAT(Take(), swept.Times(11));
  EXPECT_EQ(Ask("50").size(), 41u);
}

TEST_F(ScanCacheStory, ARequestWaitsForTheNextBroadcast) {
  Scan(kUuid, 0, false);
  Hear(Broadcast("a"));
  Take();
  GetCache();
  GetCache();
  Hear(Broadcast("a"));
  Hear(Broadcast("a"));  // one answer for both requests
  GetCache();
  listener_.on_event = [this](auto) { GetCache(); };
  Hear(Broadcast("a"));
  Hear(Broadcast("a"));  // asked for inside the report
}

TEST_F(ScanCacheStory, TheChangeFromMode0To1Reports) {
  const struct {
    unsigned from, to;
    bool continuous;
  } cases[] = {{0, 2, false}, {7, 2, true}, {0, 1, false}, {1, 2, false}, {2, 2, false}};
  for (const auto& [from, to, continuous] : cases) {
    Note("from " + std::to_string(from) + " to " + std::to_string(to));
    Unrecorded([this, mode = from] {
      Scan(kUuid, mode, false, 1'000'000);
      Hear(Broadcast("a"));
      GetCache();  // goes on waiting for the next broadcast
    });
    Scan(kUuid, to, continuous, 1'000'000);
    Hear(Broadcast("b"));
    Restart();
  }
  kinds_ = kCall | kEvent | kNote;
}

TEST_F(ScanCacheStory, InsideAReportOfAModeChangeThereIsNoOther) {
  const auto change = [this] {
    Scan(kUuid, 0, false);
    Scan(kUuid, 2, false);
  };
  Scan(kUuid, 0, false);
  Hear(Broadcast("a"));
  listener_.on_event = [change](auto) { change(); };  // would have no end
  change();
  change();
  listener_.on_event = [this, change](auto) {
    listener_.on_event = nullptr;
    change();
  };
  GetCache();
  Hear(Broadcast("a"));  // inside another report it is made
  kinds_ = kCall | kEvent | kNote;
}

TEST_F(ScanCacheTest, ReportsMayComeWhileTheHostGoesOn) {
  const std::string uuids[] = {kUuid, "a text that is watched, longer, and no uuid at all", ""};
  const auto never = Broadcast("never", {std::string(kUuid) + " at all"});
  std::atomic<bool> ends = false;
  std::thread library([&] {
    for (int i = 0; !ends; ++i) {
      radio_->ReportBroadcast(Broadcast("address " + std::to_string(i % 7), {uuids[i % 2]}));
      radio_->ReportBroadcast(never);
      radio_->ReportPublisherStatus(BlePublisherStatus(1 + i % 4), BleError::kNone);
      if (i % 7 == 0) radio_->ReportWatcherStopped(BleError::kNone);
    }
  });
  int events = 0;
  listener_.on_event = [&](auto) { ++events; };
  for (int r = 0; r < 100; ++r) {
    Scan(uuids[r % 3], static_cast<unsigned>(r % 3), r % 2 == 0, 1);
    GetCache();
    Advertise(kUuid, std::to_string(r));
    RunFor(2);
    StopScan(uuids[r % 3]);
    if (r % 10 == 9) {
      EXPECT_EQ(UnInit(), 0);
      EXPECT_EQ(Init(0), 0);
    }
  }
  ends = true;
  library.join();
  EXPECT_GT(events, 0);
  EXPECT_THAT(Take(kLog), Not(Contains(HasSubstr("never"))));
}

TEST_F(ScanCacheTest, WhatDoesNotMatchTakesNoMemoryAndFormerSettingsAreFreed) {
  const auto live_after = [this](const BleBroadcastInfo& info) {
    for (int i = 0; i < 100; ++i) {
      Scan("a text, number " + std::to_string(i) + ", that takes memory", 0, false);
    }
    Take();
    radio_->ReportBroadcast(info);
    return LiveAllocations();
  };
  for (int warm_up = 0; warm_up < 2; ++warm_up) live_after(Broadcast("stranger"));
  const auto live = live_after(Broadcast("stranger"));
  EXPECT_EQ(live_after(Broadcast("stranger")), live);
  EXPECT_GT(live_after(Broadcast("friend", {"a text, number 99, that takes memory"})), live);

  // The same while broadcasts come without a break that only a close look tells from what is
  // watched.
  std::atomic<bool> ends = false;
  std::thread library([&] {
    const auto alike = Broadcast("alike", {"a text, none of these, that takes memory"});
    while (!ends) radio_->ReportBroadcast(alike);
  });
  EXPECT_LT(live_after(Broadcast("stranger")), live + 50);
  ends = true;
  library.join();
}

}  // namespace
}  // namespace qvs_test
