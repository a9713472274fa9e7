// The tables of methods and events: ids, decoding of arguments, the form of results.
#include <algorithm>
#include <functional>
#include <limits>

#include "tests/support/allocation_count.h"
#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

namespace event = quorvel_service::windows_ble::event;
using base::variant::Variant;

using DispatchTest = ServiceTest;

TEST_F(DispatchTest, ReachesEachOperationByItsId) {
  const struct {
    std::uint64_t id;
    std::shared_ptr<Variant> arguments;
    const char* log;
  } cases[] = {
      {0x12771AB0, Args({{"retry_time", 5}}), "3 Init: ble is already inited, retry_time = 5"},
      {0x237FDF45, Args({{"need_check_discoverable", false}}),
       "6 CheckBleState: ble state change from: 1, to: 0"},
      {0x1AF60F51,
       Args({{"start", true},
             {"uuid", "u"},
             {"scan_mode", 7u},
             {"continue_callback_enable", true},
             {"broadcast_cb_interval", 250}}),
       "6 BleStartWatchBroadcast: start: 1, uuid: u, scan mode: 7continue_callback_enable: "
       "1broadcast_cb_interval: 250"},
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
        method::kInit | (std::uint64_t{1} << 63), std::numeric_limits<std::uint64_t>::max(),
        event::kState}) {
    const auto future = service_->Call(id, nullptr);
    ASSERT_NE(future, nullptr);
    EXPECT_EQ(future->GetState(), base::future::FutureState::kValueSet);
    EXPECT_EQ(future->Value()->GetType(), Variant::Type::kEmpty);
    const auto message = "method id:" + std::to_string(id) + "not found!";
    EXPECT_THAT(Take(), Reads({"1 Call: " + message}));
    EXPECT_EQ(sink_->Last("not found!"),
              (LogLine{"", "windows_ble_service_base.cpp", 30, "Call", 1, message}));
  }
}

TEST_F(DispatchTest, DecodesWhatTheHostGives) {
  const auto scan_line = [](const char* start, const char* uuid, const char* mode,
                            const char* continuous, const char* interval) {
    return std::string("6 BleStartWatchBroadcast: start: ") + start + ", uuid: " + uuid +
           ", scan mode: " + mode + "continue_callback_enable: " + continuous +
           "broadcast_cb_interval: " + interval;
  };
  const auto with = [](const char* key, auto value) { return Args({{key, value}}); };
  const struct {
    const char* description;
    std::shared_ptr<Variant> arguments;
    std::string log;
  } cases[] = {
      {"null", nullptr, scan_line("0", "", "0", "0", "0")},
      {"empty", base::variant::MakeVariant(), scan_line("0", "", "0", "0", "0")},
      {"not an object", std::make_shared<Variant>(5), scan_line("0", "", "0", "0", "0")},
      {"integer for boolean", with("start", 2), scan_line("1", "", "0", "0", "0")},
      {"zero for boolean", with("start", 0), scan_line("0", "", "0", "0", "0")},
      {"text for boolean", with("start", "true"), scan_line("0", "", "0", "0", "0")},
      {"integer for text", with("uuid", 5), scan_line("0", "", "0", "0", "0")},
      {"boolean for integer", with("scan_mode", true), scan_line("0", "", "1", "0", "0")},
      {"negative", with("scan_mode", -1), scan_line("0", "", "0", "0", "0")},
      {"huge", with("scan_mode", 1LL << 40), scan_line("0", "", "4294967295", "0", "0")},
      {"negative 64", with("broadcast_cb_interval", -5LL), scan_line("0", "", "0", "0", "0")},
      {"huge 64", with("broadcast_cb_interval", std::numeric_limits<unsigned long long>::max()),
       scan_line("0", "", "0", "0", "18446744073709551615")},
      {"text for integer", with("broadcast_cb_interval", "7"), scan_line("0", "", "0", "0", "0")},
  };
  for (const auto& [description, arguments, log] : cases) {
    EXPECT_EQ(Call(method::kStartWatchBroadcast, arguments), 0) << description;
    EXPECT_THAT(Take(), Holds({log, "ret 0"})) << description;
  }
}

TEST_F(DispatchTest, CopiesNoArgument) {
  UnInit();
  base::log::SetLogLevel(0);
  const auto allocations = [this](std::uint64_t id, const std::string& text) {
    const auto arguments = Args({{"start", true}, {"uuid", text}});
    const auto before = AllocationCount();
    service_->Call(id, arguments);
    return AllocationCount() - before;
  };
  for (const auto id : {method::kUnInit, method::kCheckBleState, method::kStartWatchBroadcast}) {
    const auto for_short_text = allocations(id, "");
    EXPECT_EQ(allocations(id, std::string(1000, 'x')), for_short_text) << id;
  }
}

TEST_F(DispatchTest, LeavesTheHostsArgumentsAlone) {
  const auto arguments = Args({{"start", false}});
  Call(method::kStartWatchBroadcast, arguments);
  EXPECT_EQ(arguments->Keys(), std::vector<std::string>{"start"});
}

TEST_F(DispatchTest, GivesAFutureThatIsCompleteAndOutlivesTheModule) {
  auto future = service_->Call(method::kCheckBleState, nullptr);
  int runs = 0;
  future->Then(
      [&](const std::shared_ptr<Variant>& value) { runs += 1 + value->Get("ret").AsInt32(); },
      nullptr, base::Location(__FILE__, __LINE__));
  EXPECT_EQ(runs, 1);
  auto value = future->Value();
  UnloadModule();
  EXPECT_EQ(value->Get("ret").AsInt32(), 0);
  future.reset();
  value.reset();
}

TEST_F(DispatchTest, TurnsAThrowIntoResult3AndOneErrorLine) {
  const struct {
    const char* function;
    std::function<int()> call;
  } cases[] = {
      {"BleCheckState", [this] { return CheckState(); }},
      {"BleServerAddManufacturerData", [this] { return Advertise(kUuid, ""); }},
      {"BleServerStopBroadcast", [this] { return StopAdvertising(); }},
      {"BleClientSetScanMode", [this] { return Scan(kUuid, 0, false); }},
  };
  for (const auto& [function, call] : cases) {
    radio_->ThrowFrom(function, 1);
    EXPECT_EQ(call(), 3) << function;
    const auto lines = Take(kLog);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.starts_with("3 "); }),
              1)
        << function << testing::PrintToString(lines);
  }
}

TEST_F(DispatchTest, NothingThrownInATaskATickOrAMessageStopsTheRest) {
  radio_->SetAutomaticReports(false);
  Advertise(kUuid, "1");
  radio_->ReportPublisherStatus(BlePublisherStatus::kStarted, BleError::kNone);
  Settle();
  Advertise(kUuid, "2");
  Scan(kUuid, 0, false);
  StopScan();
  Scan(kUuid, 0, false);
  Take();
  radio_->ThrowFrom("BleServerAddManufacturerData", 1);
  radio_->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kNone);
  radio_->ThrowFrom("BleClientStartWatchBroadcast", 1);
  RunFor(100);
  radio_->ThrowFrom("BleCheckState", 1);
  pc_.NotifyDeviceChange(7);
  Settle();
  EXPECT_THAT(Take(kEvent | kBle),
              Reads({"status_info {\"status\":4,\"err\":0}", "ble BleServerAddManufacturerData(*)",
                     "ble BleClientSetScanMode(*)", "ble BleClientStartWatchBroadcast()",
                     "ble BleCheckState()"}));
  // Neither is tried again.
  radio_->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kNone);
  radio_->ReportWatcherStopped(BleError::kNone);
  pc_.NotifyDeviceChange(7);
  Settle();
  EXPECT_THAT(Take(kEvent | kBle), Reads({"ble BleCheckState()", "state 0",
                                          "retry_info {\"is_success\":true,\"retry_time\":0}",
                                          "status_info {\"status\":4,\"err\":0}"}));
}

TEST_F(DispatchTest, PassesTheLibrarysLogLinesOn) {
  radio_->ReportLog("radio.cpp", 42, "Beam", 4, "text from the library");
  radio_->ReportLog(nullptr, 1, nullptr, 4, nullptr);
  Settle();
  EXPECT_EQ(sink_->Last("text from the library"),
            (LogLine{"PlenarBle", "radio.cpp", 42, "Beam", 4, "text from the library"}));
  EXPECT_THAT(Take(kLibraryLog),
              Holds({"PlenarBle 4 Beam: text from the library", "PlenarBle 4 : "}));
}

}  // namespace
}  // namespace qvs_test
