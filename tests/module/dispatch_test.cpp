// The table of methods: ids, decoding of arguments, the form of results.
#include <functional>
#include <limits>

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
      {0x12771AB0, Args({{"retry_time", -(1LL << 40)}}),
       "3 Init: ble is already inited, retry_time = -2147483648"},
      {0x237FDF45, Args({{"need_check_discoverable", true}}),
       "6 CheckBleState: ble state change from: 1, to: 6"},
      {0x36449713, Args({{"start", true}, {"uuid", kUuid}, {"custom_data", "abc"}}),
       "6 BleStartBroadcast: start: 1, uuid: 12345678-9ABC-DEF0-1234-56789ABCDEF0, publisher "
       "status: 4"},
      {0x11D34E04, nullptr, "6 GetBleScanCache: get ble scan cache"},
      {0x06D66975, nullptr, "6 UnInit: start ble uninit..."},
  };
  pc_.SetDiscoverable(false);
  for (const auto& [id, arguments, log] : cases) {
    Call(id, arguments);
    EXPECT_THAT(Take(), Contains(log));
  }
}

TEST_F(DispatchTest, RefusesEveryOtherId) {
  for (const std::uint64_t id : {std::uint64_t{0}, method::kUnInit + (std::uint64_t{1} << 32),
                                 std::numeric_limits<std::uint64_t>::max()}) {
    const auto future = service_->Call(id, nullptr);
    EXPECT_EQ(future->GetState(), base::future::FutureState::kValueSet);
    EXPECT_EQ(future->Value()->GetType(), Variant::Type::kEmpty);
    EXPECT_THAT(Take(kUsual | kPlace),
                ElementsAre("at windows_ble_service_base.cpp:30",
                            "1 Call: method id:" + std::to_string(id) + "not found!"));
  }
}

TEST_F(DispatchTest, DecodesWhatTheHostGives) {
  const struct {
    std::shared_ptr<Variant> arguments;
    const char *start, *uuid, *mode, *continuous, *interval;
  } cases[] = {
      {nullptr, "0", "", "0", "0", "0"},
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
    EXPECT_EQ(Take().at(0), std::string("6 BleStartWatchBroadcast: start: ") + start +
                                ", uuid: " + uuid + ", scan mode: " + mode +
                                "continue_callback_enable: " + continuous +
                                "broadcast_cb_interval: " + interval);
  }
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
      {"BleUnInit", [this] { return UnInit(); }, 0},
      {"BleClientSetReceivedBroadcastCB", [this] { return Init(0); }, 0},
  };
  for (const auto& [function, call, result] : cases) {
    radio_->ThrowFrom(function, 1);
    EXPECT_EQ(call(), result) << function;
    EXPECT_THAT(Take(kLog), Contains("3 Call: operation failed: " + std::string(function) +
                                     " was told to fail"));
  }
}

TEST_F(DispatchTest, PassesTheLibrarysLogLinesOn) {
  radio_->ReportLog("radio.cpp", 42, "Beam", 4, "text from the library");
  EXPECT_THAT(Take(kLibraryLog | kPlace),
              ElementsAre("at radio.cpp:42", "PlenarBle 4 Beam: text from the library"));
}

}  // namespace
}  // namespace qvs_test
