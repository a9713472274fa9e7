// What happens on the library's threads: filtering and posting, while the main thread goes on.
#include <atomic>
#include <thread>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using ThreadsTest = ServiceTest;

TEST_F(ThreadsTest, ReportsMayComeWhileTheHostGoesOn) {
  const std::string uuids[] = {kUuid, "a text that is watched, longer, and no uuid at all", ""};
  const auto never = Broadcast("never", {std::string(kUuid) + " at all"});
  std::atomic<bool> ends = false;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      for (int i = t; !ends; ++i) {
        radio_->ReportBroadcast(Broadcast("address " + std::to_string(i % 7), {uuids[i % 2]}));
        radio_->ReportBroadcast(never);
        if (i % 5 == t)
          radio_->ReportPublisherStatus(BlePublisherStatus(1 + i % 4), BleError::kNone);
        if (i % 7 == t) radio_->ReportWatcherStopped(BleError::kNone);
      }
    });
  }
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
  for (auto& thread : threads) thread.join();
  Settle();
  EXPECT_GT(events, 0);
  EXPECT_THAT(Take(kLog), Not(Contains(HasSubstr("never"))));
}

TEST_F(ThreadsTest, WhatDoesNotMatchCostsNoAllocationAndNoPost) {
  auto stranger = Broadcast("stranger", {"00000000-0000-0000-0000-000000000000", "x"});
  stranger.manufacturer_data[kCompany] = Bytes(20);
  Scan(kUuid, 0, false);
  const auto live_after = [this](const BleBroadcastInfo& info) {
    radio_->ReportBroadcast(info);
    return LiveAllocations();
  };
  live_after(stranger);
  const auto live = live_after(stranger);
  EXPECT_EQ(live_after(stranger), live);
  EXPECT_GT(live_after(Broadcast("friend")), live);
}

TEST_F(ThreadsTest, FormerSettingsOfTheFilterAreFreed) {
  const auto watch_many = [this] {
    for (int i = 0; i < 100; ++i)
      Scan("a text that takes memory, number " + std::to_string(i), 0, false);
    Take();
    return LiveAllocations();
  };
  const auto before = watch_many();
  EXPECT_EQ(watch_many(), before);
}

}  // namespace
}  // namespace qvs_test
