// The set of listeners, and what a host may do from inside an event.
#include <stdexcept>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

class ListenersTest : public QuietServiceTest {
 protected:
  /// Raises one event and gives the names of those that received it.
  Lines Raise() {
    Take();
    ReportStatus(4);
    auto lines = Take(kEvent);
    for (auto& line : lines) line.resize(line.find(' '));
    return lines;
  }
  void AddAll() {
    service_->RemoveListener(&listener_);
    for (const int i : {2, 0, 1, 0}) service_->AddListener(&listeners_[i]);
  }

  // An array: the addresses ascend.
  RecordingListener listeners_[3] = {RecordingListener(recorder_, "a"),
                                     RecordingListener(recorder_, "b"),
                                     RecordingListener(recorder_, "c")};
};

TEST_F(ListenersTest, AreASetOrderedByAddress) {
  service_->AddListener(nullptr);
  service_->RemoveListener(&listener_);
  EXPECT_THAT(Raise(), IsEmpty());
  AddAll();
  EXPECT_THAT(Raise(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(listeners_[0].last_payload, listeners_[2].last_payload);
  service_->RemoveListener(nullptr);
  service_->RemoveListener(&listeners_[0]);
  EXPECT_THAT(Raise(), ElementsAre("b", "c"));
}

TEST_F(ListenersTest, MayBeAddedAndRemovedInsideAnEvent) {
  AddAll();
  listeners_[0].on_event = [this](auto) {
    service_->RemoveListener(&listeners_[1]);
    service_->AddListener(&listener_);
    service_->RemoveListener(&listeners_[0]);
  };
  EXPECT_THAT(Raise(), ElementsAre("a", "c"));
  EXPECT_THAT(Raise(), testing::UnorderedElementsAre("status_info", "c"));
}

TEST_F(ListenersTest, MayThrow) {
  AddAll();
  for (auto& listener : listeners_) {
    listener.on_event = [](auto) { throw std::runtime_error("from a listener"); };
  }
  Advertise(kUuid, "1");
  ReportStatus(2);
  Advertise(kUuid, "2");
  EXPECT_THAT(Raise(), ElementsAre("a", "b", "c"));
  EXPECT_TRUE(radio_->Advertising().has_value()) << "the restart behind the report is not skipped";
}

TEST_F(ListenersTest, MayDestroyTheService) {
  AddAll();
  listeners_[0].on_event = [this](auto) { DestroyService(service_); };
  EXPECT_THAT(Raise(), ElementsAre("a"));
  EXPECT_FALSE(radio_->IsInitialised());

  service_ = CreateService();
  listener_.on_event = [this](auto) { DestroyService(service_); };
  EXPECT_EQ(CheckState(), 0) << "reports inside the call";
  EXPECT_EQ(service_, nullptr);
}

}  // namespace
}  // namespace qvs_test
