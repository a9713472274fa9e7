// The module's two functions, the table of methods and the set of listeners.
#include <functional>
#include <limits>
#include <thread>

#include <plenar_base/thread_local.h>

#include "framework/log_writer.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using base::threading::ThreadLocal;
using base::variant::Variant;

using ModuleStory = StoryTest<ModuleTest>;
using ServiceStory = StoryTest<ServiceTest>;

TEST_F(ModuleStory, CreatesServicesOfOneName) {
  for (const char* name :
       {"", "service.windows_ble.windows_ble ", "Service.windows_ble.windows_ble",
        "service.windows_ble.windows_bl", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(create_(name), nullptr);
  }
  destroy_(nullptr);
  Note("create");
  service_ = CreateService();
  Note("destroy");
  DestroyService(service_);
  Note("unload");
  UnloadModule();
}

TEST_F(ModuleTest, LeavesNothingBehind) {
  for (const int adapter : {0, 6, 0}) {
    SetAdapter(adapter);
    service_ = CreateService();
    EXPECT_EQ(Take(kPlace).at(0), "at windows_ble_service_impl.cpp:11");
    Init(3);
    EXPECT_EQ(CheckState(), adapter == 0 ? 0 : 1);
    EXPECT_THAT(Take(), Contains(HasSubstr("from: 1, to: 0")).Times(adapter == 0))
        << "nothing is known of the round before";
    Scan(kUuid, 2, true);
    StopScan();
    UnloadModule();
    EXPECT_FALSE(IsLoaded(kModule));
    EXPECT_EQ(UntilTick(), 0u);
    EXPECT_EQ(ThreadLocal::GetValue("base.log.stream"), nullptr);
    EXPECT_FALSE(pc_.HasWindowClass("PlenarBLEStateClass"));
    // The BLE API library, which others keep loaded, has nobody to call any more.
    radio_->ReportLog("radio.cpp", 1, "Beam", 3, "nobody listens");
    ReportStatus(4);
    EXPECT_THAT(Take(kLog | kLibraryLog), Not(Contains(HasSubstr("nobody listens"))));
    LoadModule();
  }
}

TEST_F(ModuleTest, LeavesWhatIsNotItsOwn) {
  const auto slot = [] { return ThreadLocal::GetValue("base.log.stream"); };
  char text[1025] = {};
  quorvel_service::LogStream other{text, 1024, 0};
  ThreadLocal::SetValue("base.log.stream", &other, nullptr);
  CreateService();
  UnloadModule();
  EXPECT_EQ(slot(), &other);
  ThreadLocal::SetValue("base.log.stream", nullptr, nullptr);

  LoadModule();
  int heard = 0;
  const SharedLibrary library(dlopen(kBleApi.c_str(), RTLD_NOW));
  const auto set_log =
      reinterpret_cast<decltype(&BleSetLogFunc)>(dlsym(library.get(), "BleSetLogFunc"));
  set_log([&heard](auto...) { ++heard; });
  UnloadModule();
  radio_->ReportLog("radio.cpp", 1, "Beam", 3, "for another");
  EXPECT_EQ(heard, 1);
  set_log(nullptr);
}

TEST_F(ServiceStory, DecodesWhatTheHostGives) {
  for (const auto& arguments : {
           std::shared_ptr<Variant>(),
           std::make_shared<Variant>(5),
           Args({{"start", 2}, {"uuid", 5}, {"scan_mode", true}, {"broadcast_cb_interval", "7"}}),
           Args({{"start", "true"}, {"uuid", "u"}, {"scan_mode", -1}, {"custom_data", "data"}}),
           Args({{"scan_mode", 1LL << 40},
                 {"continue_callback_enable", true},
                 {"broadcast_cb_interval", std::numeric_limits<std::uint64_t>::max()}}),
       }) {
    Call(method::kStartWatchBroadcast, arguments);
    Call(method::kStartBroadcast, arguments);
  }
  Call(method::kInit);
  Call(method::kInit, Args({{"retry_time", -(1LL << 40)}}));
}

TEST_F(ServiceStory, RefusesEveryOtherMethod) {
  for (const std::uint64_t id : {std::uint64_t{0}, method::kUnInit + (std::uint64_t{1} << 32),
                                 std::numeric_limits<std::uint64_t>::max()}) {
    const auto future = service_->Call(id, nullptr);
    EXPECT_EQ(future->GetState(), base::future::FutureState::kValueSet);
    EXPECT_EQ(future->Value()->GetType(), Variant::Type::kEmpty);
  }
  kinds_ |= kPlace;
}

TEST_F(ServiceStory, PassesTheLibrarysLogLinesOn) {
  radio_->ReportLog("radio.cpp", 42, "Beam", 4, "text from the library");
  kinds_ = kLibraryLog | kPlace;
}

TEST_F(ServiceTest, ACallOnAnotherThreadEndsADebugBuild) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::function<void()> calls[] = {[this] { Init(0); },
                                         [this] { CheckState(); },
                                         [this] { Advertise(kUuid, ""); },
                                         [this] { StopScan(); },
                                         [this] { GetCache(); },
                                         [this] { UnInit(); },
                                         [this] { service_->NotifyEvent(1, nullptr); }};
  for (const auto& call : calls) EXPECT_DEBUG_DEATH(std::thread(call).join(), "IsOnMainLooper");
}

TEST_F(ServiceStory, CountsWhatTheLibraryThrowsAsARefusal) {
  for (const char* function :
       {"BleCheckState", "BleServerAddManufacturerData", "BleServerStopBroadcast",
        "BleClientSetScanMode", "BleUnInit", "BleClientSetReceivedBroadcastCB"}) {
    radio_->ThrowFrom(function);
  }
  CheckState();
  Advertise(kUuid, "");
  StopAdvertising();
  Scan(kUuid, 0, false);
  UnInit();
  Init(0);
}

/// A service with three listeners, which stand in memory in the order of their names.
class ListenersStory : public ServiceStory {
 protected:
  void SetUp() override {
    ServiceStory::SetUp();
    service_->RemoveListener(&listener_);
    for (const int i : {2, 0, 1, 0}) service_->AddListener(&listeners_[i]);
    service_->AddListener(nullptr);
    kinds_ = kCall | kEvent | kNote;
  }

  RecordingListener listeners_[3] = {RecordingListener(recorder_, "a"),
                                     RecordingListener(recorder_, "b"),
                                     RecordingListener(recorder_, "c")};
};

TEST_F(ListenersStory, AreToldInTheOrderOfTheirAddresses) {
  ReportStatus(4);
  EXPECT_EQ(listeners_[0].last_payload, listeners_[2].last_payload);
  service_->RemoveListener(&listeners_[0]);
  service_->RemoveListener(nullptr);
  ReportStatus(4);
}

TEST_F(ListenersStory, MayBeAddedAndRemovedInsideAnEvent) {
  listeners_[1].on_event = [this](auto) {
    service_->RemoveListener(&listeners_[2]);
    service_->AddListener(&listener_);
    service_->RemoveListener(&listeners_[1]);
    service_->RemoveListener(&listeners_[0]);
    throw std::bad_alloc();
  };
  ReportStatus(4);
  ReportStatus(4);
}

TEST_F(ListenersStory, MayDestroyTheService) {
  listeners_[0].on_event = [this](auto) { DestroyService(service_); };
  ReportStatus(4);
  EXPECT_EQ(pc_.WindowCount(), 0u);
  service_ = CreateService();
  listener_.on_event = [this](auto) { DestroyService(service_); };
  EXPECT_EQ(CheckState(), 0) << "reports inside the call";
  EXPECT_EQ(service_, nullptr);
}

}  // namespace
}  // namespace qvs_test
