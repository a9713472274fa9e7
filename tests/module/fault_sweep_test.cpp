// Whatever fails, anywhere in a host's life with the module: nothing crashes, nothing leaks, and
// afterwards everything works as usual.
#include <functional>
#include <map>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

constexpr const char* kFunctionsWithResult[] = {
    "BleInit", "BleCheckState", "BleClientStartWatchBroadcast", "BleServerAddManufacturerData",
    "BleServerStartBroadcast"};

class FaultSweepTest : public ServiceTest {
 protected:
  using Chapter = std::pair<const char*, std::function<void()>>;

  /// A life in chapters: each begins and, if nothing fails, ends with the service up and idle.
  const Chapter life_[6] = {
      {"creating",
       [this] {
         DestroyService(service_);
         service_ = CreateService();
       }},
      {"loading", [this] { LoadAnew(); }},
      {"waiting for the adapter",
       [this] {
         UnInit();
         SetAdapter(6);
         Init(2);
         RunFor(3000);
         SetAdapter(0);
         RunFor(3000);
       }},
      {"following the adapter",
       [this] {
         for (const bool on : {false, true}) {
           pc_.SetRadioOn(on);
           ChangeDevices();
         }
         CheckState(true);
       }},
      {"advertising",
       [this] {
         for (const char* data : {"1", "2"}) {
           Advertise(kUuid, data);
           Settle();
         }
         StopAdvertising();
         Settle();
       }},
      {"scanning",
       [this] {
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
       }},
  };

  void LoadAnew() {
    UnloadModule();
    LoadModule();
    service_ = CreateService();
    ++loads_;
  }

  void ExpectNormalLife() {
    for (const char* name : kFunctionsWithResult) radio_->SetResult(name, 0);
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

  /// Lets each call of a chapter to the system and to the library fail in turn, in this way.
  void FailEachCall(const std::function<void(const std::string& call)>& fail) {
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
      failing.clear();
      calls.clear();
      chapter();
      for (const auto& [call, count] : std::map(calls)) {
        for (int number = 1; number <= count; ++number) {
          SCOPED_TRACE(std::string(name) + ", " + call + ", call " + std::to_string(number));
          failing = call;
          until_failure = number;
          chapter();
          until_failure = 0;
          ExpectNormalLife();
        }
      }
    }
    pc_.SetCallObserver(nullptr);
    radio_->SetCallObserver(nullptr);
  }

  std::ptrdiff_t loads_ = 0;
};

TEST_F(FaultSweepTest, MemoryRunsOut) {
  pc_.SetCallObserver(nullptr);
  radio_->SetCallObserver(nullptr);
  for (const auto& [name, chapter] : life_) {
    for (int i = 0; i < 2; ++i) {
      chapter();
      ExpectNormalLife();
    }
    bool failed = true;
    for (std::size_t number = 1; failed; ++number) {
      SCOPED_TRACE(std::string(name) + ", allocation " + std::to_string(number));
      const auto live = LiveAllocations();
      const auto loads = loads_;
      allocations_until_failure = number;
      chapter();
      failed = std::exchange(allocations_until_failure, 0) == 0;
      ExpectNormalLife();
      // Of each load of the module its service factory stays.
      if (loads_ == loads) {
        EXPECT_EQ(LiveAllocations(), live);
      }
    }
  }
}

TEST_F(FaultSweepTest, TheSystemFails) {
  // What gives something back does not fail.
  FailEachCall([this](const std::string& call) {
    for (const char* part : {"Ble", "Free", "Close", "Destroy", "Unregister"}) {
      if (call.find(part) != std::string::npos) return;
    }
    pc_.FailNext(call, 5);
  });
}

TEST_F(FaultSweepTest, TheLibraryThrows) {
  FailEachCall([this](const std::string& call) {
    if (call.starts_with("Ble")) radio_->ThrowFrom(call, 1);
  });
}

TEST_F(FaultSweepTest, TheLibraryRefuses) {
  FailEachCall([this](const std::string& call) {
    for (const char* name : kFunctionsWithResult) {
      if (call == name) radio_->SetResult(call, -1);
    }
  });
}

}  // namespace
}  // namespace qvs_test
