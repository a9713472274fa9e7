// The set of listeners, and what a host may do from inside an event.
#include <stdexcept>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

class ListenersTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    service_->RemoveListener(&listener_);
  }

  /// Raises one event and gives the names of those that received it.
  Lines Raise() {
    ReportStatus(4);
    auto lines = Take(kEvent);
    for (auto& line : lines) line.resize(line.find(' '));
    return lines;
  }

  // An array: the addresses ascend.
  RecordingListener listeners_[3] = {RecordingListener(recorder_, "a"),
                                     RecordingListener(recorder_, "b"),
                                     RecordingListener(recorder_, "c")};
};

TEST_F(ListenersTest, AreASetOrderedByAddress) {
  service_->AddListener(nullptr);
  service_->RemoveListener(nullptr);
  service_->RemoveListener(&listeners_[0]);
  EXPECT_THAT(Raise(), Reads({}));
  for (const int i : {2, 0, 1, 0}) service_->AddListener(&listeners_[i]);
  EXPECT_THAT(Raise(), Reads({"a", "b", "c"}));
  EXPECT_EQ(listeners_[0].last_payload, listeners_[2].last_payload);
  service_->RemoveListener(&listeners_[0]);
  EXPECT_THAT(Raise(), Reads({"b", "c"}));
}

TEST_F(ListenersTest, MayBeAddedAndRemovedInsideAnEvent) {
  service_->AddListener(&listeners_[0]);
  service_->AddListener(&listeners_[1]);
  listeners_[0].on_event = [this](auto) {
    service_->RemoveListener(&listeners_[1]);
    service_->AddListener(&listeners_[2]);
    service_->RemoveListener(&listeners_[0]);
  };
  EXPECT_THAT(Raise(), Reads({"a"}));
  EXPECT_THAT(Raise(), Reads({"c"}));
}

TEST_F(ListenersTest, MayThrow) {
  for (auto& listener : listeners_) {
    service_->AddListener(&listener);
    listener.on_event = [](auto) { throw std::runtime_error("from a listener"); };
  }
  Advertise(kUuid, "1");
  Settle();
  Advertise(kUuid, "2");
  Take();
  Settle();
  // Every listener hears of every status, and the steps behind the report are not skipped.
  EXPECT_THAT(Take(), Holds({"a " + StatusInfo(4), "b " + StatusInfo(4), "c " + StatusInfo(4),
                             "6 operator (): restart broadcast", "ble BleServerStartBroadcast()"}));
}

TEST_F(ListenersTest, MayDestroyTheService) {
  for (auto& listener : listeners_) service_->AddListener(&listener);
  listeners_[0].on_event = [this](auto) { DestroyService(service_); };
  EXPECT_THAT(Raise(), Reads({"a"}));
  EXPECT_FALSE(radio_->IsInitialised());

  service_ = CreateService();
  service_->RemoveListener(&listener_);
  service_->AddListener(&listeners_[0]);
  EXPECT_EQ(CheckState(), 0) << "reports inside the call";
  EXPECT_EQ(service_, nullptr);
}

TEST_F(ListenersTest, MayCallEveryMethod) {
  service_->AddListener(&listener_);
  int events = 0;
  listener_.on_event = [&](auto) {
    if (++events > 20) return;
    CheckState(true);
    Advertise(kUuid, std::to_string(events));
    Scan(kUuid, static_cast<unsigned>(events % 3), events % 2 == 0);
    GetCache();
    StopScan();
    StopAdvertising();
    UnInit();
    Init(3);
  };
  CheckState();
  Hear(Broadcast("a"));
  ReportStatus(4);
  pc_.SetRadioOn(false);
  ChangeDevices();
  RunFor(5000);
  EXPECT_GT(events, 1);
  EXPECT_EQ(CheckState(), 5);
}

TEST_F(ListenersTest, MayScanAnewInsideAReportOfDevices) {
  service_->AddListener(&listener_);
  Scan(kUuid, 0, false);
  for (const char* address : {"a", "b", "c"}) Hear(Broadcast(address));
  // Each change from mode 0 to 1 makes a report, except inside such a report: that would have no
  // end.
  listener_.on_event = [&](auto) {
    Scan(kUuid, 0, false);
    Scan(kUuid, 2, false);
  };
  EXPECT_THAT(After([&] { Scan(kUuid, 2, false); }, kEvent),
              Reads({"device_json [*\"a\"*\"b\"*\"c\"*]"}));
  Scan(kUuid, 0, false);
  listener_.on_event = [&, first = true](auto) mutable {
    if (std::exchange(first, false)) Scan(kUuid, 2, false);
  };
  GetCache();
  EXPECT_THAT(After([&] { Hear(Broadcast("d")); }, kEvent),
              Reads({"device_json [*\"d\"*]", "device_json [*\"d\"*]"}));
}

TEST_F(ListenersTest, MayTakeBleDown) {
  service_->AddListener(&listener_);
  listener_.on_event = [&](auto) { UnInit(); };
  CheckState();
  EXPECT_THAT(Take(),
              Reads({"ble BleCheckState()", "6 CheckBleState: ble state change from: 1, to: 0",
                     "6 ReportRetryInfo: report success", RetryInfo(true, 0),
                     "6 UnInit: start ble uninit...", "ble BleUnInit()",
                     "6 UnInit: ble uninit success", "ret 0", "ret 0"}));
}

}  // namespace
}  // namespace qvs_test
