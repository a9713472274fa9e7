// Advertises, shows for a few seconds who else advertises the same UUID, and puts everything away.
#include <iostream>

#include <plenar_base/timer.h>
#include <qvs_windows_ble/client.h>

constexpr char kUuid[] = "0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";

int main() try {
  base::threading::MainLooperScope looper;  // this thread is the main looper thread from now on
  ble::Client client(looper);               // loads the module that stands beside this program

  const auto start = [&client] {
    for (const ble::Result result :
         {client.StartBroadcast(kUuid, "room 4.02"), client.StartWatch(kUuid)}) {
      if (result != ble::Result::kSuccess) std::cerr << ble::Explain(result) << std::endl;
    }
  };
  client.on_devices = [](const std::vector<ble::Device>& devices) {
    for (const ble::Device& device : devices) {
      std::cout << device.address << ' ' << device.rssi << " dBm, "
                << device.data.value_or("").size() << " bytes of data" << std::endl;
    }
  };
  client.on_retry = [&start](const ble::RetryReport& report) {
    if (report.success) start();
  };
  // With these five checks of an adapter that is unavailable, the start comes when one succeeds.
  if (client.Init(/*retry_time=*/5) != ble::Result::kAdapterUnavailable) start();

  const auto end = base::threading::CreateTimer([&looper] { looper.Quit(); }, {__FILE__, __LINE__});
  end->Start(5'000, /*repeat=*/false);
  looper.Run();
  return 0;  // the client ends the service, and unloads the module when that is safe
} catch (const ble::Error& error) {
  std::cerr << error.what() << std::endl;
  return 1;
}
