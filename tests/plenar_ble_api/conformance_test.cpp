// What the module may expect of a good BLE API library, whatever radio is behind its functions.

#include <memory>
#include <ostream>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "tests/plenar_ble_api/radio_under_test.h"

namespace {

using plenar_ble_control::RadioKind;

class Conformance : public testing::TestWithParam<RadioUnderTest> {
 protected:
  void SetUp() override { Load(); }

  void Load() {
    api = std::make_unique<BleApi>();
    ASSERT_TRUE(api->control.SelectRadio(GetParam().kind));
    GetParam().surround(*api);
  }

  void Init() {
    ASSERT_EQ(api->BleInit(0), 0);
    api->BleServerSetStatusChangedCB([this](BlePublisherStatus status, BleError) {
      journal.Note(std::to_string(static_cast<int>(status)));
      throw std::runtime_error("none of the library's business");
    });
    api->BleClientSetStoppedWatchBroadcastCB([this](BleError) { journal.Note("watched"); });
  }

  std::unique_ptr<BleApi> api;
  Journal journal;
};

void UnInit(const BleApi& api) {
  api.BleUnInit();
}

struct Step {
  void (*act)(const BleApi& api);
  const char* reports;
};

TEST_P(Conformance, WhoeverStartsOrStopsLearnsWhatBecameOfIt) {
  const std::vector<Step> lives[]{
      {{Start, "1; 2; "}, {Stop, "3; 4; "}, {Stop, "4; "}, {UnInit, ""}},
      {{Start, "1; 2; "}, {Start, "1; 2; "}, {UnInit, "4; "}},
      {{Watch, ""}, {Watch, ""}, {Unwatch, "watched; "}, {Unwatch, "watched; "}, {UnInit, ""}},
      {{Watch, ""}, {UnInit, ""}, {Stop, ""}, {Unwatch, ""}},
  };
  for (const auto& life : lives) {
    Init();
    for (const auto& [act, reports] : life) {
      act(*api);
      EXPECT_EQ(journal.Take(reports), reports);
    }
  }
}

TEST_P(Conformance, RefusesWhatCannotBe) {
  const std::vector<std::uint8_t> data(100'000);
  const auto expect_refusals = [&] {
    EXPECT_NE(api->BleServerStartBroadcast(), 0);
    EXPECT_NE(api->BleClientStartWatchBroadcast(), 0);
    EXPECT_NE(api->BleCheckState(), BleError::kNone);
  };
  expect_refusals();
  Init();
  EXPECT_NE(api->BleServerStartBroadcast(), 0) << "there is no data";
  EXPECT_NE(api->BleServerAddManufacturerData(1, nullptr, 1), 0);
  EXPECT_NE(api->BleServerAddManufacturerData(1, data.data(), data.size()), 0);
  for (const std::size_t length : {0u, 16u, 28u}) {
    EXPECT_EQ(api->BleServerAddManufacturerData(1, data.data(), length), 0);
    EXPECT_EQ(api->BleServerStartBroadcast(), 0);
  }
  EXPECT_EQ(api->BleCheckState(), BleError::kNone);
  api->BleUnInit();
  expect_refusals();
}

TEST_P(Conformance, TakesWhatTheModuleNeverSets) {
  const std::uint8_t data[4]{};
  api->BleClientSetServiceUuidFilter(nullptr);
  api->BleClientSetServiceUuidFilter("01234567-89ab-cdef-0123-456789abcdef");
  api->BleClientSetManufacturerDataFilter(0x7E51, nullptr, 4);
  api->BleClientSetSignalStrengthFilter(-40);
  EXPECT_EQ(api->BleServerAddDataSection(0x09, data, 4), 0);
}

TEST_P(Conformance, CallablesMayTakeTheLibraryDownAndUpAgain) {
  Init();
  Start(*api);
  EXPECT_EQ(journal.Take("2; "), "1; 2; ");
  api->BleServerSetStatusChangedCB([this](BlePublisherStatus status, BleError) {
    journal.Note("last " + std::to_string(static_cast<int>(status)));
    if (status != BlePublisherStatus::kStarting) return;
    api->BleUnInit();
    journal.Note("init " + std::to_string(api->BleInit(0)));
  });
  Start(*api);
  EXPECT_EQ(journal.Take("init 0; "), "last 1; last 4; init 0; ");
  Init();
  Start(*api);
  EXPECT_EQ(journal.Take("2; "), "1; 2; ");
  api->BleUnInit();
}

TEST_P(Conformance, CallsNoCallableAfterUnInitOrAfterItWasWithdrawn) {
  for (int round = 0; round < 50; ++round) {
    // Not atomic on purpose: a callable that overlaps what follows its end is a data race.
    int heard = 0, reported = 0;
    Init();
    api->BleClientSetReceivedBroadcastCB([&](auto&&) {
      if (++heard == 1) journal.Note("heard");
    });
    api->BleServerSetStatusChangedCB([&](auto, auto) { ++reported; });
    Watch(*api);
    EXPECT_EQ(journal.Take("heard; "), "heard; ");
    Start(*api);
    if (round % 2 == 0) {
      api->BleUnInit();
      EXPECT_GT(reported, 0);
    } else {
      api->BleClientSetReceivedBroadcastCB({});
      api->BleServerSetStatusChangedCB({});
    }
    heard = reported = 0;
    api->BleUnInit();
    EXPECT_EQ(heard + reported, 0);
  }
}

TEST_P(Conformance, IsLoadedWhileItIsUpAndUnloadedAfterwards) {
  for (int round = 0; round < 20; ++round) {
    api->BleSetLogFunc([text = std::string(99, 'x')](auto&&...) {});  // Nobody else releases it.
    Init();
    Start(*api);
    Watch(*api);
    if (round % 2 == 0) {
      api.reset();
      EXPECT_NE(GetModuleHandleA(BleApi::kFile), nullptr) << "its threads live";
      api = std::make_unique<BleApi>();
    }
    api->BleUnInit();
    api.reset();
    EXPECT_EQ(GetModuleHandleA(BleApi::kFile), nullptr);
    Load();
  }
}

void PutOnVirtualAir(const BleApi& api) {
  api.control.SetAir(plenar_ble_control::Air::kInProcess);
  api.control.PutOnAir({}, 1);
}

std::vector<RadioUnderTest> Radios() {
  std::vector<RadioUnderTest> radios{{"Virtual", RadioKind::kVirtual, PutOnVirtualAir}};
  if (const auto system = SystemRadioUnderTest()) radios.push_back(*system);
  return radios;
}

INSTANTIATE_TEST_SUITE_P(Radio, Conformance, testing::ValuesIn(Radios()),
                         [](const auto& radio) { return radio.param.name; });

}  // namespace
