// A second process on the loopback air: air_peer DATA EXPECTED
//
// Advertises DATA until its input ends, and ends with 0 once it has heard EXPECTED.

#include <cstdio>
#include <string>

#include "tests/plenar_ble_api/ble_library.h"
#include "tests/plenar_ble_api/journal.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string expected = argv[2];
  BleLibrary ble;
  Journal journal;
  ble.SetReceivedBroadcastCB([&](const BleBroadcastInfo& info) {
    if (DataOf(info) == expected) journal.Note("heard");
  });
  if (ble.Init(0) != 0 || ble.StartWatchBroadcast() != 0 || ble.Advertise(argv[1]) != 0) return 3;
  while (std::getchar() != EOF) continue;
  const bool heard = journal.WaitFor("heard");
  ble.UnInit();
  return heard ? 0 : 1;
}
