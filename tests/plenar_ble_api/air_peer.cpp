// A second process on the loopback air: air_peer DATA ANSWER
//
// Advertises DATA, and ends with 0 once it has heard ANSWER.

#include "tests/plenar_ble_api/radio_user.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  Journal journal;
  BleClientSetReceivedBroadcastCB([&](const auto& info) { journal.Note(TextOf(info)); });
  const bool up = BleInit(0) == 0 && BleClientStartWatchBroadcast() == 0;
  const bool heard = up && Advertise(argv[1]) == 0 && journal.WaitFor(argv[2]);
  BleUnInit();
  return heard ? 0 : 1;
}
