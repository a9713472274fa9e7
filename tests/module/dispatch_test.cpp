// The table of methods: ids, decoding of arguments, the form of results; and what is thrown.
#include <functional>
#include <limits>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using base::variant::Variant;

using DispatchTest = ServiceTest;

TEST_F(DispatchTest, ReachesEachOperationByItsId) {
  const struct {
    std::uint64_t id;
    std::shared_ptr<Variant> arguments;
    const char* log;
  } cases[] = {
      {0x12771AB0, Args({{"retry_time", 5}}), "3 Init: ble is already inited, retry_time = 5"},
      {0x12771AB0, Args({{"retry_time", -(1LL << 40)}}),
       "3 Init: ble is already inited, retry_time = -2147483648"},
      {0x237FDF45, Args({{"need_check_discoverable", false}}),
       "6 CheckBleState: ble state change from: 1, to: 0"},
      {0x36449713, Args({{"start", true}, {"uuid", kUuid}, {"custom_data", "abc"}}),
       "6 BleStartBroadcast: start: 1, uuid: 12345678-9ABC-DEF0-1234-56789ABCDEF0, publisher "
       "status: 4"},
      {0x11D34E04, nullptr, "6 GetBleScanCache: get ble scan cache"},
      {0x06D66975, nullptr, "6 UnInit: start ble uninit..."},
  };
  for (const auto& [id, arguments, log] : cases) {
    EXPECT_EQ(Call(id, arguments), 0) << log;
    EXPECT_THAT(Take(), Holds({log, "ret 0"}));
  }
}

TEST_F(DispatchTest, RefusesEveryOtherId) {
  for (const std::uint64_t id :
       {std::uint64_t{12345}, std::uint64_t{0}, method::kUnInit + (std::uint64_t{1} << 32),
        method::kInit | (std::uint64_t{1} << 63), std::numeric_limits<std::uint64_t>::max()}) {
    const auto future = service_->Call(id, nullptr);
    EXPECT_EQ(future->GetState(), base::future::FutureState::kValueSet);
    EXPECT_EQ(future->Value()->GetType(), Variant::Type::kEmpty);
    EXPECT_THAT(Take(kUsual | kPlace),
                Reads({"at windows_ble_service_base.cpp:30",
                       "1 Call: method id:" + std::to_string(id) + "not found!"}));
  }
}

TEST_F(DispatchTest, DecodesWhatTheHostGives) {
  const struct {
    std::shared_ptr<Variant> arguments;
    const char *start, *uuid, *mode, *continuous, *interval;
  } cases[] = {
      {nullptr, "0", "", "0", "0", "0"},
      {std::make_shared<Variant>(), "0", "", "0", "0", "0"},
      {std::make_shared<Variant>(5), "0", "", "0", "0", "0"},
      {Args({{"start", 2}, {"uuid", 5}, {"scan_mode", true}, {"broadcast_cb_interval", "7"}}), "1",
       "", "1", "0", "0"},
      {Args({{"start", "true"}, {"uuid", "u"}, {"scan_mode", -1}, {"broadcast_cb_interval", -5}}),
       "0", "u", "0", "0", "0"},
      {Args({{"scan_mode", 1LL << 40},
             {"continue_callback_enable", true},
             {"broadcast_cb_interval", std::numeric_limits<std::uint64_t>::max()}}),
       "0", "", "4294967295", "1", "18446744073709551615"},
  };
  for (const auto& [arguments, start, uuid, mode, continuous, interval] : cases) {
    EXPECT_EQ(Call(method::kStartWatchBroadcast, arguments), 0);
    EXPECT_THAT(Take(), Holds({std::string("6 BleStartWatchBroadcast: start: ") + start +
                                   ", uuid: " + uuid + ", scan mode: " + mode +
                                   "continue_callback_enable: " + continuous +
                                   "broadcast_cb_interval: " + interval,
                               "ret 0"}));
  }
}

TEST_F(DispatchTest, LeavesTheArgumentsAloneAndCopiesNone) {
  UnInit();
  base::log::SetLogLevel(0);
  const auto allocations = [this](std::uint64_t id, const std::string& text) {
    const auto arguments = Args({{"uuid", text}});
    service_->Call(id, arguments);  // makes what is made once
    const auto before = AllocationCount();
    service_->Call(id, arguments);
    const auto after = AllocationCount();
    EXPECT_EQ(arguments->Keys(), std::vector<std::string>{"uuid"});
    return after - before;
  };
  for (const auto id : {method::kUnInit, method::kCheckBleState, method::kStartWatchBroadcast}) {
    const auto for_short_text = allocations(id, "");
    EXPECT_EQ(allocations(id, std::string(1000, 'x')), for_short_text) << id;
  }
}

TEST_F(DispatchTest, GivesAFutureThatIsComplete) {
  const auto future = service_->Call(method::kCheckBleState, nullptr);
  int result = -1;
  future->Then([&](const std::shared_ptr<Variant>& value) { result = value->Get("ret").AsInt32(); },
               nullptr, base::Location(__FILE__, __LINE__));
  EXPECT_EQ(result, 0);
}

// A library that throws is logged, and the call counts as refused.
TEST_F(DispatchTest, AThrowOfTheLibraryIsARefusal) {
  const struct {
    const char* function;
    std::function<int()> call;
    int result;
  } cases[] = {
      {"BleCheckState", [this] { return CheckState(); }, 9},
      {"BleServerAddManufacturerData", [this] { return Advertise(kUuid, ""); }, 3},
      {"BleServerStopBroadcast", [this] { return StopAdvertising(); }, 0},
      {"BleClientSetScanMode", [this] { return Scan(kUuid, 0, false); }, 0},
      {"BleClientStartWatchBroadcast", [this] { return Scan(kUuid, 0, false); }, 3},
      {"BleUnInit", [this] { return UnInit(); }, 0},
      {"BleInit", [this] { return Init(0); }, 3},
      {"BleClientSetReceivedBroadcastCB", [this] { return Init(0); }, 0},
  };
  for (const auto& [function, call, result] : cases) {
    radio_->ThrowFrom(function, 1);
    EXPECT_EQ(call(), result) << function;
    EXPECT_THAT(Take(kLog), Holds({"3 Call: operation failed: *"})) << function;
  }
  EXPECT_EQ(UnInit(), 0);
  EXPECT_EQ(LoadCount(), 0);
}

TEST_F(DispatchTest, PassesTheLibrarysLogLinesOn) {
  radio_->ReportLog("radio.cpp", 42, "Beam", 4, "text from the library");
  radio_->ReportLog(nullptr, 1, nullptr, 4, nullptr);
  Settle();
  EXPECT_THAT(Take(kLibraryLog | kPlace),
              Holds({"at radio.cpp:42", "PlenarBle 4 Beam: text from the library", "at :1",
                     "PlenarBle 4 : "}));
}

}  // namespace
}  // namespace qvs_test
