// A host with a `poll` loop of its own, off Windows: the main looper tells it when there is work,
// and until when it may wait. Advertises for a second, and puts everything away.
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <iostream>

#include <plenar_base/time_source.h>
#include <plenar_base/timer.h>
#include <qvs_windows_ble/client.h>

namespace {

/// How long `poll` may wait, in milliseconds; -1 for as long as it likes.
int TimeLeft(const base::threading::MainLooperScope& looper) {
  const auto deadline = looper.NextDeadline();
  if (!deadline) return -1;
  const std::uint64_t now = base::time::GetTimeSource()->SteadyMilliseconds();
  return *deadline > now ? static_cast<int>(*deadline - now) : 0;
}

}  // namespace

int main() try {
  const int work = eventfd(0, EFD_NONBLOCK);
  {
    base::threading::MainLooperScope looper([work] { eventfd_write(work, 1); });
    ble::Client client(looper);
    client.on_status = [](const ble::PublisherStatus& status) {
      std::cout << "publisher status " << status.status << std::endl;
    };
    client.StartBroadcast("0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f", "poll");

    bool is_over = false;
    const auto end =
        base::threading::CreateTimer([&is_over] { is_over = true; }, {__FILE__, __LINE__});
    end->Start(1'000, /*repeat=*/false);
    while (!is_over) {
      pollfd polled{work, POLLIN, 0};  // and whatever else the host waits for
      poll(&polled, 1, TimeLeft(looper));
      eventfd_t count = 0;
      eventfd_read(work, &count);
      looper.RunUntilIdle();
    }
  }
  close(work);
  return 0;
} catch (const ble::Error& error) {
  std::cerr << error.what() << std::endl;
  return 1;
}
