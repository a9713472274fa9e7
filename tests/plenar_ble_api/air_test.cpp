#include <string>

#include <gmock/gmock.h>

#include "tests/plenar_ble_api/ble_library.h"
#include "tests/plenar_ble_api/journal.h"
#include "tests/plenar_ble_api/process.h"

using testing::Contains;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

/// A radio on the loopback air and one in another process, each advertising and watching. Other
/// tests share the air at the same time: what these two send is theirs alone.
class AirTest : public testing::Test {
 protected:
  AirTest() {
    ble.radio->Reset();
    EXPECT_EQ(ble.Init(0), 0);
    ble.SetReceivedBroadcastCB([this](const BleBroadcastInfo& info) { OnBroadcast(info); });
    EXPECT_EQ(ble.StartWatchBroadcast(), 0);
    EXPECT_EQ(ble.Advertise(own), 0);
  }
  ~AirTest() override { ble.UnInit(); }

  void OnBroadcast(const BleBroadcastInfo& info) {
    journal.Note(DataOf(info));
    if (DataOf(info) != others) return;
    EXPECT_THAT(info.address, SizeIs(17));
    EXPECT_THAT(info.local_name, StartsWith("Virtual radio "));
    EXPECT_LT(info.rssi, 0);
  }

  const std::string own = "radio_" + std::to_string(ProcessId());
  const std::string others = own + "_peer";
  Journal journal;
  BleLibrary ble;
  std::FILE* peer = StartProcess(std::string(AIR_PEER_PATH) + " " + others + " " + own);
};

TEST_F(AirTest, IsSharedByTheProcessesOfTheMachine) {
  EXPECT_TRUE(journal.WaitFor(others));
  ble.StopWatchBroadcast();
  ASSERT_EQ(ble.StartWatchBroadcast(), 0);
  journal.Take();
  EXPECT_TRUE(journal.WaitFor(others)) << "again after a stop";
  EXPECT_EQ(FinishProcess(peer), 0) << "the peer has not heard us";
}

TEST_F(AirTest, ARadioDoesNotHearItself) {
  EXPECT_TRUE(journal.WaitFor(others));
  // By then the peer has heard what our watcher, which hears the peer, would have heard too.
  EXPECT_EQ(FinishProcess(peer), 0);
  ble.UnInit();
  EXPECT_THAT(journal.Take(), Not(Contains(own)));
}

}  // namespace
