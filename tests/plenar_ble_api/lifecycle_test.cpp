#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tests/plenar_ble_api/ble_library.h"
#include "tests/plenar_ble_api/journal.h"

using plenar_ble_control::Air;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Lifecycle, NothingStartsBeforeInit) {
  BleLibrary ble;
  const int state = static_cast<int>(ble.CheckState());
  EXPECT_NE(state, 0);
  EXPECT_NE(state, 6);
  EXPECT_NE(state, 102);
  EXPECT_NE(ble.StartWatchBroadcast(), 0);
  EXPECT_NE(ble.Advertise(), 0);
  ble.StopWatchBroadcast();
  ble.StopBroadcast();
  ble.UnInit();
  EXPECT_FALSE(ble.radio->IsInitialised());
  EXPECT_FALSE(ble.radio->NextDeadline());
}

TEST(Lifecycle, OneUnInitTakesSeveralInitsDown) {
  BleLibrary ble;
  EXPECT_EQ(ble.Init(0), 0);
  EXPECT_EQ(ble.Init(0), 0);
  EXPECT_EQ(ble.CheckState(), BleError::kNone);
  ble.radio->SetAir(Air::kInProcess);
  EXPECT_EQ(ble.Advertise(), 0);
  EXPECT_EQ(ble.StartWatchBroadcast(), 0);
  ble.UnInit();
  EXPECT_FALSE(ble.radio->IsInitialised());
  EXPECT_FALSE(ble.radio->IsWatching());
  EXPECT_FALSE(ble.radio->Advertising());
  EXPECT_NE(ble.CheckState(), BleError::kNone);
  EXPECT_EQ(ble.Init(0), 0);
  EXPECT_NE(ble.StartBroadcast(), 0) << "the data went with the rest";
  ble.UnInit();
}

TEST(Lifecycle, NoCallableRunsAfterUnInit) {
  BleLibrary ble;
  ble.radio->SetAir(Air::kInProcess);
  ble.radio->PutOnAir({}, 1);
  std::atomic<bool> done = false;
  std::thread reporter([&] {
    while (!done) ble.radio->ReportPublisherStatus(BlePublisherStatus::kStarted, BleError::kNone);
  });
  for (int round = 0; round < 50; ++round) {
    // Not atomic on purpose: a callable that overlaps what follows UnInit is a data race.
    auto calls = std::make_unique<int>(0);
    auto statuses = std::make_unique<int>(0);
    Journal journal;
    ASSERT_EQ(ble.Init(0), 0);
    ble.SetReceivedBroadcastCB([&, calls = calls.get()](const BleBroadcastInfo&) {
      ++*calls;
      journal.Note("heard");
    });
    ble.SetStatusChangedCB([&, statuses = statuses.get()](BlePublisherStatus, BleError) {
      ++*statuses;
      journal.Note("status");
    });
    ASSERT_EQ(ble.StartWatchBroadcast(), 0);
    ASSERT_TRUE(journal.WaitFor("heard"));
    ASSERT_TRUE(journal.WaitFor("status"));
    ble.UnInit();
    EXPECT_GT(*calls, 0);
    EXPECT_GT(*statuses, 0);
    journal.Take();
    calls.reset();
    statuses.reset();
    EXPECT_THAT(journal.Take(), IsEmpty());
  }
  done = true;
  reporter.join();
}

TEST(Lifecycle, WithdrawingACallableWaitsForIt) {
  BleLibrary ble;
  std::atomic<bool> entered = false;
  std::atomic<bool> left = false;
  ble.SetLogFunc([&](const char*, int, const char*, int, const char*) {
    entered = true;
    entered.notify_all();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    left = true;
  });
  std::thread reporter([&] { ble.radio->ReportLog("f", 1, "g", 6, "m"); });
  entered.wait(false);
  ble.SetLogFunc({});
  EXPECT_TRUE(left);
  reporter.join();
}

TEST(Lifecycle, ACallableMayTakeTheLibraryDownAndUpAgain) {
  BleLibrary ble;
  Journal journal;
  ble.radio->SetAir(Air::kInProcess);
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(ble.Init(0), 0);
    ble.SetStatusChangedCB([&](BlePublisherStatus, BleError) {
      ble.UnInit();
      journal.Note(ble.radio->IsInitialised() ? "up" : "down");
      if (round % 2 == 0) ble.Init(0);
      journal.Note("left");
    });
    ASSERT_EQ(ble.Advertise(), 0);
    ASSERT_TRUE(journal.WaitFor("left"));
    EXPECT_THAT(journal.Take(), ElementsAre("down", "left")) << "the second report is dropped";
    EXPECT_EQ(ble.radio->IsInitialised(), round % 2 == 0);
    ble.UnInit();
  }
}

TEST(Lifecycle, ACallableThatThrowsHarmsNothing) {
  BleLibrary ble;
  Journal journal;
  ble.radio->SetAir(Air::kInProcess);
  ble.Init(0);
  ble.SetStatusChangedCB([&](BlePublisherStatus status, BleError) {
    journal.Note(std::to_string(static_cast<int>(status)));
    throw 1;
  });
  ble.Advertise();
  EXPECT_TRUE(journal.WaitFor("2"));
  ble.UnInit();
}

TEST(Lifecycle, IsUnloadedAfterUnInitAndNotWhileItsThreadsLive) {
  for (int round = 0; round < 20; ++round) {
    auto ble = std::make_unique<BleLibrary>();
    ble->radio->SetAir(Air::kInProcess);
    ble->SetServiceUuidFilter("01234567-89ab-cdef-0123-456789abcdef");
    ble->SetLogFunc(
        [text = std::string(100, 'x')](const char*, int, const char*, int, const char*) {});
    ble->Init(0);
    ble->Advertise();
    const auto un_init = ble->UnInit;
    if (round % 2 == 0) un_init();
    ble.reset();
    EXPECT_EQ(SharedLibrary::IsLoaded(PLENAR_BLE_API_PATH), round % 2 != 0);
    if (round % 2 == 0) continue;
    BleLibrary again;
    EXPECT_TRUE(again.radio->IsInitialised());
    again.UnInit();
  }
  EXPECT_FALSE(SharedLibrary::IsLoaded(PLENAR_BLE_API_PATH));
}

/// Destroyed when the library's own statics are gone.
struct AtExit {
  ~AtExit() {
    if (set_log != nullptr) set_log({});
  }
  decltype(&BleSetLogFunc) set_log = nullptr;
};
AtExit at_exit;

TEST(Lifecycle, TheProcessMayEndWithoutUnInit) {
  static Journal journal;  // Older than the library, so it must not be called once this is gone.
  static auto* const ble = new BleLibrary;  // Never unloaded.
  ble->radio->SetAir(Air::kInProcess);
  ble->radio->PutOnAir({}, 1);
  ble->SetLogFunc([](const char*, int, const char*, int, const char*) {});
  ble->Init(0);
  ble->SetReceivedBroadcastCB([](const BleBroadcastInfo&) { journal.Note("heard"); });
  ble->StartWatchBroadcast();
  EXPECT_TRUE(journal.WaitFor("heard"));
  at_exit.set_log = ble->SetLogFunc;
}

}  // namespace
