#include <limits>
#include <ostream>

#include <gmock/gmock.h>

#include "tests/plenar_ble_api/ble_library_test.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using WatcherTest = BleLibraryTest;

TEST_F(WatcherTest, HearsEachDeviceAtOnceAndThenAtItsInterval) {
  ble.radio->PutOnAir(Device("A"), 100);
  EXPECT_FALSE(ble.radio->NextDeadline()) << "nobody listens";
  EXPECT_EQ(ble.StartWatchBroadcast(), 0);
  ble.radio->PutOnAir(Device("B"), 70);
  AdvanceTo(1150);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 heard A", "1000 heard B", "1070 heard B",
                                          "1100 heard A", "1140 heard B"));
  ble.radio->TakeOffAir("B");
  ble.StopWatchBroadcast();
  AdvanceTo(2000);
  EXPECT_THAT(journal.Take(), ElementsAre("1150 stopped error 0"));
}

TEST_F(WatcherTest, AdvancesOverManyDeadlinesInOneStep) {
  ble.radio->PutOnAir(Device("A"), 10);
  ble.StartWatchBroadcast();
  EXPECT_EQ(ble.radio->AdvanceTo(2000), 101u);
  EXPECT_THAT(journal.Take(), SizeIs(101));
  EXPECT_EQ(ble.radio->NextDeadline(), 2010u);
  EXPECT_EQ(ble.radio->AdvanceTo(1500), 0u) << "time does not go back";
  EXPECT_EQ(ble.radio->NextDeadline(), 2010u);
}

TEST_F(WatcherTest, ReplacesADeviceOfTheSameAddress) {
  ble.StartWatchBroadcast();
  ble.radio->PutOnAir(Device("A"), 10);
  ble.radio->PutOnAir(Device("A"), std::numeric_limits<std::uint64_t>::max());
  AdvanceTo(5000);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 heard A"));
}

TEST_F(WatcherTest, ASecondStartTakesTheScanModeOverAndChangesNothingElse) {
  ble.radio->PutOnAir(Device("A"), 100);
  ble.SetScanMode(1);
  EXPECT_EQ(ble.StartWatchBroadcast(), 0);
  ble.SetScanMode(2);
  EXPECT_EQ(ble.StartWatchBroadcast(), 0);
  ble.SetScanMode(3);
  EXPECT_EQ(ble.radio->ScanMode(), 2);
  EXPECT_TRUE(ble.radio->IsWatching());
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), ElementsAre("1000 heard A"));
}

TEST_F(WatcherTest, ReportsEveryStopAfterItsDelay) {
  ble.radio->SetReportDelays(
      {.starting = 0, .started = 0, .stopping = 0, .stopped = 0, .watcher_stopped = 150});
  ble.StartWatchBroadcast();
  ble.StopWatchBroadcast();
  EXPECT_FALSE(ble.radio->IsWatching());
  ble.StartWatchBroadcast();
  AdvanceTo(1149);
  EXPECT_THAT(journal.Take(), IsEmpty());
  AdvanceTo(1150);
  EXPECT_THAT(journal.Take(), ElementsAre("1150 stopped error 0"));
  EXPECT_TRUE(ble.radio->IsWatching());
}

struct FilterCase {
  const char* name;
  void (*set)(const BleLibrary& ble);
  bool heard;
};

void PrintTo(const FilterCase& filter, std::ostream* out) {
  *out << filter.name;
}

class FilterTest : public BleLibraryTest, public testing::WithParamInterface<FilterCase> {};

TEST_P(FilterTest, LetsThroughWhatMatches) {
  GetParam().set(ble);
  ble.radio->PutOnAir(Device("A"), 1000);
  ble.StartWatchBroadcast();
  AdvanceTo(1000);
  EXPECT_THAT(journal.Take(), SizeIs(GetParam().heard ? 1 : 0));
}

constexpr std::uint8_t kPrefix[]{1, 2};
constexpr std::uint8_t kOther[]{1, 3};
constexpr std::uint8_t kLonger[]{1, 2, 3, 4};

const FilterCase kFilterCases[]{
    {"Service",
     [](const BleLibrary& b) { b.SetServiceUuidFilter("01234567-89AB-CDEF-0123-456789ABCDEF"); },
     true},
    {"OtherService",
     [](const BleLibrary& b) { b.SetServiceUuidFilter("01234567-89ab-cdef-0123-456789abcdee"); },
     false},
    {"AnyService",
     [](const BleLibrary& b) {
       b.SetServiceUuidFilter("x");
       b.SetServiceUuidFilter(nullptr);
     },
     true},
    {"Data", [](const BleLibrary& b) { b.SetManufacturerDataFilter(0x7E51, kPrefix, 2); }, true},
    {"OtherData", [](const BleLibrary& b) { b.SetManufacturerDataFilter(0x7E51, kOther, 2); },
     false},
    {"LongerData", [](const BleLibrary& b) { b.SetManufacturerDataFilter(0x7E51, kLonger, 4); },
     false},
    {"OtherCompany", [](const BleLibrary& b) { b.SetManufacturerDataFilter(1, kPrefix, 0); },
     false},
    {"AnyCompany",
     [](const BleLibrary& b) {
       b.SetManufacturerDataFilter(1, kPrefix, 0);
       b.SetManufacturerDataFilter(1, nullptr, 0);
     },
     true},
    {"Strength", [](const BleLibrary& b) { b.SetSignalStrengthFilter(-60); }, true},
    {"MoreStrength", [](const BleLibrary& b) { b.SetSignalStrengthFilter(-59); }, false},
};

INSTANTIATE_TEST_SUITE_P(Filters, FilterTest, testing::ValuesIn(kFilterCases),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
