// Whatever fails, anywhere in a host's life with the module: nothing crashes, nothing leaks, and
// afterwards everything works as usual.
#include <functional>
#include <map>
#include <regex>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

class FaultSweepTest : public ServiceTest {
 protected:
  // A life in chapters: each begins and, if nothing fails, ends with the service up and idle.
  void ComeUp() {
    DestroyService(service_);
    service_ = CreateService();
    if (service_ == nullptr) return;
    UnInit();
    SetAdapter(6);
    Init(2);
    RunFor(3000);
    SetAdapter(0);
    RunFor(3000);
  }
  void Work() {
    for (const char* data : {"1", "2"}) {
      Advertise(kUuid, data);
      Settle();
    }
    StopAdvertising();
    Scan(kUuid, 0, true);
    Hear(Broadcast("a"));
    RunFor(500);
    GetCache();
    Hear(Broadcast("b"));
    StopScan();
    Scan(kUuid, 2, false);
    RunFor(100);
    StopScan();
    RunFor(100);
    SetRadioOn(false);
    ChangeDevices();
    SetRadioOn(true);
    CheckState(true);
  }
  void LoadAnew() {
    UnloadModule();
    LoadModule();
    service_ = CreateService();
    ++loads_;
  }
  const std::pair<const char*, std::function<void()>> life_[3] = {
      {"coming up", [this] { ComeUp(); }},
      {"working", [this] { Work(); }},
      {"loading anew", [this] { LoadAnew(); }}};

  void ObserveNothing() {
    pc_.SetCallObserver(nullptr);
    radio_->SetCallObserver(nullptr);
  }
  void ExpectNormalLife() {
    for (const char* function : {"BleInit", "BleCheckState", "BleClientStartWatchBroadcast",
                                 "BleServerAddManufacturerData", "BleServerStartBroadcast"}) {
      radio_->SetResult(function, 0);
    }
    pc_.SetRadioOn(true);
    if (service_ == nullptr) service_ = CreateService();
    if (service_ == nullptr) LoadAnew();
    UnInit();
    EXPECT_EQ(Init(0), 0);
    ReportStatus(4);  // whatever was not heard of
    EXPECT_EQ(StopScan(), 0);
    RunFor(21'000);  // of what was cached nothing is fresh any more
    EXPECT_EQ(CheckState(), 0);
    EXPECT_EQ(Advertise(kUuid, "again"), 0);
    Settle();
    EXPECT_TRUE(radio_->Advertising().has_value());
    EXPECT_EQ(Scan(kUuid, 0, false), 0);
    GetCache();
    Hear(Broadcast("again"));
    EXPECT_EQ(StopAdvertising(), 0);
    EXPECT_EQ(StopScan(), 0);
    RunFor(100);
    EXPECT_THAT(Take(kEvent), Contains(HasSubstr("again")));
    EXPECT_EQ(pc_.OpenHandleCount(), 0u);
    EXPECT_EQ(pc_.WindowCount(), 1u);
    EXPECT_EQ(pc_.DeviceNotificationCount(), 1u);
  }

  /// Lets each call whose name has this form fail in turn, in this way.
  void FailEachCall(const char* form, const std::function<void(const std::string& call)>& fail) {
    std::map<std::string, int> calls;
    std::string failing;
    int until_failure = 0;
    const auto observe = [&](std::string_view call, const std::string&) {
      ++calls[std::string(call)];
      if (call == failing && --until_failure == 0) fail(failing);
    };
    pc_.SetCallObserver(observe);
    radio_->SetCallObserver(observe);
    for (const auto& [name, chapter] : life_) {
      calls.clear();
      chapter();
      for (const auto& [call, count] : std::map(calls)) {
        for (int number = 1; number <= count && std::regex_match(call, std::regex(form));
             ++number) {
          SCOPED_TRACE(name + (", call " + std::to_string(number)) + " of " + call);
          failing = call;
          until_failure = number;
          chapter();
          until_failure = 0;
          ExpectNormalLife();
        }
      }
    }
    ObserveNothing();
  }

  int loads_ = 0;
};

TEST_F(FaultSweepTest, MemoryRunsOut) {
  ObserveNothing();
  std::map<std::string, int> failures;  // which of them the log tells of, and how often
  for (const char* function :
       {"CallMethod", "Load", "CheckBleState", "ReportRetryInfo", "BleStartBroadcast",
        "DoPublisherStatusChangedInfo", "DoScanCallback", "operator ()"}) {
    failures[std::string("3 ") + function + ": operation failed: std::bad_alloc"] = 0;
  }
  for (const auto& [name, chapter] : life_) {
    for (int warm_up = 0; warm_up < 2; ++warm_up) {
      chapter();
      ExpectNormalLife();
    }
    bool failed = true;
    for (std::size_t number = 1; failed; ++number) {
      SCOPED_TRACE(name + (", allocation " + std::to_string(number)));
      const auto live = LiveAllocations();
      const auto loads = loads_;
      allocations_until_failure = number;
      chapter();
      failed = std::exchange(allocations_until_failure, 0) == 0;
      for (const auto& line : Take(kLog)) {
        if (failures.contains(line)) ++failures[line];
      }
      ExpectNormalLife();
      // Of each load of the module its service factory stays.
      if (loads_ == loads) {
        EXPECT_EQ(LiveAllocations(), live);
      }
    }
  }
  for (const auto& [line, count] : failures) EXPECT_GT(count, 0) << line;
}

TEST_F(FaultSweepTest, WithoutMemoryACallGives3) {
  const std::function<int()> calls[] = {
      [this] { return Init(0); },
      [this] { return CheckState(true); },
      [this] { return Advertise(kUuid, ""); },
      [this] { return Scan(kUuid, 0, true); },
      [this] { return StopScan(); },
  };
  ObserveNothing();
  base::log::SetLogLevel(0);
  UnInit();
  for (const auto& call : calls) {
    bool failed = true;
    for (std::size_t number = 1; failed; ++number) {
      allocations_until_failure = number;
      const int ret = call();
      failed = std::exchange(allocations_until_failure, 0) == 0;
      EXPECT_THAT(ret, testing::AnyOf(0, 3, 5, 6, kNoMemory)) << "call " << &call - calls;
    }
  }
}

TEST_F(FaultSweepTest, TheSystemFails) {
  FailEachCall("(?!Ble|.*(Free|Close|Destroy|Unregister)).*",  // what gives back does not fail
               [this](const std::string& call) { pc_.FailNext(call, 5); });
}

TEST_F(FaultSweepTest, TheLibraryThrows) {
  FailEachCall("Ble.*", [this](const std::string& call) { radio_->ThrowFrom(call); });
}

TEST_F(FaultSweepTest, TheLibraryRefuses) {
  FailEachCall("Ble(Init|CheckState|ClientStart.*|ServerStart.*|ServerAdd.*)",
               [this](const std::string& call) { radio_->SetResult(call, -1); });
}

}  // namespace
}  // namespace qvs_test
