// What a host meets on Windows with the system's own Bluetooth, over a double of its classes.

#include <windows.h>

#include <roapi.h>
#include <tlhelp32.h>

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "simulated_bluetooth/simulated_bluetooth.h"
#include "tests/plenar_ble_api/ble_api.h"

namespace {

using simulated_bluetooth::Locked;
using simulated_bluetooth::Packet;
using simulated_bluetooth::State;
using Set = std::function<void(State&)>;

std::string Number(auto value) {
  return std::to_string(static_cast<int>(value));
}

/// A device's packet: each text is a section's type and data.
Packet Sent(std::uint64_t address, int type, const std::vector<std::string>& sections) {
  Packet packet;
  packet.address = address;
  packet.rssi = -50;
  packet.type = type;
  for (const std::string& section : sections) {
    packet.data[packet.length++] = static_cast<std::uint8_t>(section.size());
    for (const char c : section) packet.data[packet.length++] = static_cast<std::uint8_t>(c);
  }
  return packet;
}

int ThreadCount() {
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{};
  thread.dwSize = sizeof thread;
  int count = 0;
  for (BOOL more = Thread32First(all, &thread); more; more = Thread32Next(all, &thread)) {
    if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(all);
  return count;
}

class SimulatedBluetoothTest : public testing::Test {
 protected:
  SimulatedBluetoothTest() {
    // A host's thread that is in an apartment of its own is none of the radio's business.
    RoInitialize(RO_INIT_SINGLETHREADED);
    simulated_bluetooth::Install();
    Make([](State&) {});
  }
  ~SimulatedBluetoothTest() override {
    simulated_bluetooth::Install();
    RoUninitialize();
  }

  /// The PC is as usual but for what `set` changes.
  static void Make(const Set& set) {
    const Locked state;
    *state = State();
    set(*state);
  }
};

class SystemRadioTest : public SimulatedBluetoothTest, public BleApi {
 protected:
  void SetUp() override {
    control.SelectRadio(plenar_ble_control::RadioKind::kSystem);
    Begin();
  }
  void TearDown() override { BleUnInit(); }

  void Begin() {
    ASSERT_EQ(BleInit(0), 0);
    BleSetLogFunc([this](auto, auto, auto, int level, const char* message) {
      if (level == 3) log.Note(message);
    });
    BleServerSetStatusChangedCB([this](BlePublisherStatus status, BleError error) {
      journal.Note("status " + Number(status) + "/" + Number(error));
    });
    BleClientSetStoppedWatchBroadcastCB(
        [this](BleError error) { journal.Note("stopped/" + Number(error)); });
  }

  Journal journal, log;
};

TEST_F(SystemRadioTest, ABleCheckTellsWhatMayPassFromWhatWillNotAndTakesAFractionOfASecond) {
  const std::pair<Set, int> cases[]{
      {[](State&) {}, 0},
      {[](State& state) { state.adapter = false; }, 6},
      {[](State& state) { state.answer_after_ms = 400; }, 6},
      {[](State& state) { state.answer_after_ms = 400; }, 0},  // That was the answer before.
      {[](State& state) { state.radio_on = false; }, 0},       // The module looks at that itself.
      {[](State& state) { state.access = false; }, 202},
      {[](State& state) { state.low_energy = false; }, 203},
      {[](State& state) { state.peripheral_role = false; }, 204},
      {[](State&) { simulated_bluetooth::Uninstall(); }, 201},
  };
  for (const auto& [set, expected] : cases) {
    Make(set);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(static_cast<int>(BleCheckState()), expected);
    EXPECT_LT(GetTickCount64() - start, 300u);
    Sleep(Locked()->answer_after_ms);
  }
  EXPECT_THAT(log.Take(),
              testing::AllOf(testing::HasSubstr("GetDefaultAsync failed, error: 0x80070005"),
                             testing::HasSubstr("failed, error: 0x80040154")));
}

TEST_F(SystemRadioTest, AStartReportsWhatTheSystemSaysAndGoesOnAirWhereItFits) {
  const Set usual = [](State&) {};
  const Set flags = [](State& state) { state.adds_flags = true; };
  const Set old = [](State& state) { state.extended_advertising = false; };
  const Set old_flags = [](State& state) {
    state.extended_advertising = !(state.adds_flags = true);
  };
  constexpr int kLegacy = 3;
  constexpr int kExtended = 5;
  const struct {
    Set set;
    std::size_t custom_bytes;  // After the 16 of the UUID.
    int type;                  // On air; 0: none.
    int error = 0;
  } cases[]{
      {usual, 0, kLegacy},
      {usual, 8, kLegacy},
      {usual, 9, kLegacy},
      {usual, 11, kLegacy},
      {usual, 12, kExtended},
      {flags, 8, kLegacy},
      {flags, 9, kExtended},
      {flags, 11, kExtended},
      {flags, 12, kExtended},
      {old, 11, kLegacy},
      {old, 12, 0, 106},
      {old_flags, 8, kLegacy},
      {old_flags, 9, 0, 104},
      {old_flags, 11, 0, 104},
      {old_flags, 12, 0, 106},
      {[](State& state) { state.abort_error = 2; }, 0, 0, 102},
      {[](State& state) { state.radio_on = false; }, 0, 0, 101},
      {[](State& state) { state.access = false; }, 0, 0, 107},
      {[](State&) { simulated_bluetooth::Uninstall(); }, 0, 0, 106},
  };
  for (const auto& tried : cases) {
    Make(tried.set);
    EXPECT_EQ(Advertise(std::string(16 + tried.custom_bytes, 'x')), 0);
    EXPECT_TRUE(
        journal.WaitFor(tried.error == 0 ? "status 2/0" : "status 4/" + Number(tried.error)));
    EXPECT_EQ(Locked()->air[0].type, tried.type);
    EXPECT_EQ(Locked()->air[0].length, tried.type == 0 ? 0 : 20 + tried.custom_bytes);
    if (tried.error != 0) {
      EXPECT_THAT(journal.Take(), testing::Not(testing::HasSubstr("status 2")));
      continue;
    }
    BleServerStopBroadcast();
    EXPECT_TRUE(journal.WaitFor("status 4/0"));
    EXPECT_EQ(journal.Take(), "status 1/0; status 2/0; status 3/0; status 4/0; ");
  }
}

TEST_F(SystemRadioTest, ADeviceComesWithAllThatItsPacketsSay) {
  Make([](State& state) {
    state.air[0] = Sent(0xAABBCCDDEEFF, 0,
                        {std::string("\xFF\x51\x7E old", 7), "\xFF\x51\x7E new", "\x03\x0F\x18"});
    state.air[1] = Sent(0xAABBCCDDEEFF, 4,
                        {"\x09"
                         "Caf\xC3\xA9",
                         "\xFF\x02\x01"
                         "more"});
    state.air[2] = Sent(1, 5,
                        {"\x09"
                         "extended"});
  });
  Journal heard;
  BleClientSetReceivedBroadcastCB([&](const BleBroadcastInfo& info) {
    std::string text =
        info.address + " " + info.local_name + Number(info.rssi) + (info.connectable ? " c" : "");
    for (const auto& uuid : info.service_uuids) text += " " + uuid;
    for (const auto& [company, data] : info.manufacturer_data)
      text += " " + Number(company).append(data.begin(), data.end());
    heard.Note(text + " " + Number(info.data_sections.size()));
  });
  const std::string known = "AA:BB:CC:DD:EE:FF ";
  const std::string rest = " c 0000180f-0000-1000-8000-00805f9b34fb";
  const std::string alone = known + "-50" + rest + " 32337 new 2";
  const std::string merged = known + "Caf\xC3\xA9-50" + rest + " 258more 32337 new 3";
  for (const int mode : {0, 1, 2, 3}) {
    BleClientSetScanMode(mode);  // There is no mode 3: what was set before stays.
    EXPECT_EQ(BleClientStartWatchBroadcast(), 0);
    EXPECT_TRUE(heard.WaitFor(mode == 0 ? alone : merged));
    EXPECT_TRUE(heard.WaitFor("00:00:00:00:00:01 extended-50 1"));
    BleClientStopWatchBroadcast();
    EXPECT_TRUE(journal.WaitFor("stopped/0"));
    EXPECT_EQ(journal.Take(), "stopped/0; ");
    EXPECT_EQ(heard.Take().find("Caf") == std::string::npos, mode == 0);
  }
  EXPECT_EQ(log.Take(), "there is no scan mode 3; ");
}

TEST_F(SystemRadioTest, WhatRanEndsOnceWhenTheRadioGoesAndWorksAgainWhenItIsBack) {
  const std::pair<Set, int> ends[]{
      {[](State& state) { state.radio_on = false; }, 101},
      {[](State& state) { state.adapter = false; }, 101},
      {[](State& state) { state.access = false; }, 107},
  };
  for (const auto& [end, error] : ends) {
    EXPECT_EQ(Advertise("x") + BleClientStartWatchBroadcast(), 0);
    EXPECT_TRUE(journal.WaitFor("status 2/0"));
    end(*Locked());
    EXPECT_TRUE(journal.WaitFor("status 4/" + Number(error)) &&
                journal.WaitFor("stopped/" + Number(error)));
    Make([](State&) {});
    // Nothing runs any more: a stop is answered by the radio itself.
    journal.Take();
    BleServerStopBroadcast();
    BleClientStopWatchBroadcast();
    EXPECT_TRUE(journal.WaitFor("stopped/0"));
    EXPECT_EQ(journal.Take(), "status 4/0; stopped/0; ");
  }
}

TEST_F(SystemRadioTest, AStopThatTheSystemRefusesIsTheEndAllTheSame) {
  EXPECT_EQ(Advertise("x") + BleClientStartWatchBroadcast(), 0);
  EXPECT_TRUE(journal.WaitFor("status 2/0"));
  Locked()->stop_result = E_FAIL;
  BleServerStopBroadcast();
  BleClientStopWatchBroadcast();
  EXPECT_TRUE(journal.WaitFor("status 4/104") && journal.WaitFor("stopped/104"));
  EXPECT_THAT(log.Take(), testing::HasSubstr("Publisher.Stop failed, error: 0x80004005"));
}

TEST_F(SystemRadioTest, AStartWhileOneRunsTakesTheNewDataAndAnEndReportsItStopped) {
  EXPECT_EQ(Advertise("first"), 0);
  EXPECT_TRUE(journal.WaitFor("status 2/0"));
  journal.Take();
  EXPECT_EQ(Advertise("second"), 0);
  EXPECT_TRUE(journal.WaitFor("status 2/0"));
  Sleep(50);
  {
    const Locked state;
    EXPECT_EQ(state->air[0].length + state->air[1].length, 4 + 6u) << "both are on air";
  }
  BleUnInit();
  EXPECT_EQ(journal.Take(), "status 1/0; status 2/0; status 4/0; ");
}

TEST_F(SystemRadioTest, ReportsOfTheSystemThatComeTooLateDoNothing) {
  const std::string all = "status 1/0; status 2/0; status 3/0; status 4/0; ";
  const std::string end = "stopped/0; ";
  Make([](State& state) {
    state.late_ms = 2;
    state.receivers = 4;
    state.air[0] = Sent(1, 0, {"\x09x"});
  });
  for (int round = 0; round < 1000; ++round) {
    int heard = 0;  // Not atomic on purpose: a callable that overlaps the end is a data race.
    BleClientSetReceivedBroadcastCB([&](const auto&) { ++heard; });
    EXPECT_EQ(Advertise("x") + BleClientStartWatchBroadcast(), 0);
    if (round % 10 == 0) {
      BleUnInit();
      EXPECT_THAT(journal.Take(), testing::EndsWith("status 4/0; "));
      Begin();
    } else {
      BleServerStopBroadcast();
      BleClientStopWatchBroadcast();
      EXPECT_TRUE(journal.WaitFor("status 4/0") && journal.WaitFor("stopped/0"));
      std::string said = journal.Take();
      EXPECT_EQ(said.erase(said.find(end), end.size()), all);
    }
    BleClientSetReceivedBroadcastCB({});
  }
}

TEST_F(SimulatedBluetoothTest, NothingIsLeftOfALibraryThatWasUsedAndUnloaded) {
  Locked()->air[0] = Sent(1, 0, {"\x09x"});
  const int threads = ThreadCount();
  for (int round = 0; round < 100; ++round) {
    Journal heard;
    {
      const BleApi api;
      api.control.SelectRadio(plenar_ble_control::RadioKind::kSystem);
      EXPECT_EQ(api.BleInit(0), 0);
      api.BleClientSetReceivedBroadcastCB([&](const auto& info) { heard.Note(info.local_name); });
      EXPECT_EQ(api.BleCheckState(), BleError::kNone);
      EXPECT_EQ(api.BleClientStartWatchBroadcast(), 0);
      EXPECT_TRUE(heard.WaitFor("x"));
      if (round % 2 == 1) api.BleClientStopWatchBroadcast();
      api.BleUnInit();
    }
    EXPECT_EQ(GetModuleHandleA(BleApi::kFile), nullptr);
  }
  Sleep(100);  // The double's own threads end.
  EXPECT_LE(ThreadCount(), threads);
}

}  // namespace
