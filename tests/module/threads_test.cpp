// What happens on the library's threads: filtering and posting, while the main thread goes on.
#include <barrier>
#include <thread>

#include "tests/module/minimal_ble_api.h"
#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr char kLibrary[] = QVS_TEST_LIBRARIES "/complete/plenar_ble_api.dll";

/// The module with the minimal library, whose callables the test invokes itself.
class ThreadsTest : public ModuleTest {
 protected:
  void SetUp() override {
    api_ = library_.Get<MinimalBleApiStateFunction>("MinimalBleApiState")();
    pc_.SetExecutablePath(QVS_TEST_LIBRARIES "/complete/host");
    Start();
    ASSERT_TRUE(api_->received);
  }

  template <class Callable, class... Arguments>
  void Deliver(Callable MinimalBleApi::*callable, const Arguments&... arguments) {
    std::shared_lock lock(api_->mutex);
    if (api_->*callable) (api_->*callable)(arguments...);
  }
  void Deliver(const BleBroadcastInfo& info) { Deliver(&MinimalBleApi::received, info); }
  void DeliverStopped() { Deliver(&MinimalBleApi::stopped, BleError::kNone); }
  void DeliverStatus(int status) {
    Deliver(&MinimalBleApi::status_changed, static_cast<BlePublisherStatus>(status),
            BleError::kNone);
  }
  void DeliverOneOfEach() {
    Deliver(Broadcast("a"));
    DeliverStopped();
    DeliverStatus(2);
  }

  SharedLibrary library_{kLibrary};
  MinimalBleApi* api_ = nullptr;
};

TEST_F(ThreadsTest, WhatDoesNotMatchCostsNoAllocationAndNoPost) {
  auto stranger = Broadcast("stranger", {"00000000-0000-0000-0000-000000000000", "x"});
  stranger.manufacturer_data[kCompany] = Bytes(20);
  stranger.manufacturer_data[1] = kUuidBytes;
  Scan(kUuid, 0, false);
  std::thread([&] {
    const auto before = AllocationCount();
    for (int i = 0; i < 1000; ++i) Deliver(stranger);
    EXPECT_EQ(AllocationCount(), before);
    Deliver(Broadcast("friend"));
    EXPECT_GT(AllocationCount(), before);
  }).join();
  EXPECT_EQ(looper_->RunUntilIdle(), 1u);
}

TEST_F(ThreadsTest, ACallOnTheMainThreadIsPostedToo) {
  Scan(kUuid, 0, false);
  Take();
  DeliverOneOfEach();
  EXPECT_THAT(Take(), Reads({}));
  EXPECT_THAT(After([&] { Settle(); }),
              Reads({
                  "6 operator (): find broadcast, ble addr: a",
                  "6 operator (): broadcast wather stopped, err: 0",
                  "6 StopBroadcastCBTimer: enter",
                  "6 operator (): broadcast publisher status changed, status: 2, err: 0",
                  "status_info {\"status\":2,\"err\":0}",
              }));
}

TEST_F(ThreadsTest, WithoutAMainLooperWhatIsPostedIsDropped) {
  Scan(kUuid, 0, false);
  looper_.reset();
  Take();
  DeliverOneOfEach();
  looper_.emplace();
  Settle();
  EXPECT_THAT(Take(), Reads({}));
}

TEST_F(ThreadsTest, ReportsMayComeFromManyThreadsWhileTheHostGoesOn) {
  constexpr int kRounds = 100, kThreads = 3, kReports = 20;
  const std::string uuids[] = {kUuid,
                               "a much longer text that is watched and that is no uuid at all", ""};
  const auto never = Broadcast("never", {std::string(kUuid) + " at all"});
  std::barrier round(kThreads + 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r) {
        round.arrive_and_wait();
        for (int i = 0; i < kReports; ++i) {
          Deliver(Broadcast("address " + std::to_string(i % 7), {uuids[i % 2]}));
          Deliver(never);
          if (i % 5 == t) DeliverStatus(1 + i % 4);
          if (i % 7 == t) DeliverStopped();
        }
      }
    });
  }
  int events = 0;
  listener_.on_event = [&](auto) { ++events; };
  for (int r = 0; r < kRounds; ++r) {
    round.arrive_and_wait();
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
  for (auto& thread : threads) thread.join();
  Settle();
  EXPECT_GT(events, 0);
  EXPECT_THAT(Take(kLog), testing::Not(testing::Contains(testing::HasSubstr("never"))));

  // After the shut-down nothing is called any more.
  UnInit();
  EXPECT_FALSE(api_->received || api_->stopped || api_->status_changed);
  EXPECT_THAT(After([&] { RunFor(1000); }, kEvent), Reads({}));
}

}  // namespace
}  // namespace qvs_test
