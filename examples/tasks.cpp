// What docs/tasks.md shows, in a program that does it all: the fragments there are parts of this
// text.
#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <plenar_base/log_sink.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/timer.h>
#include <plenar_base/variant.h>
#include <qvs_windows_ble/client.h>

namespace {

constexpr char kUuid[] = "0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";

void FollowTheState(ble::Client& client) {
  client.on_state = [](ble::Result state) { std::cout << ble::Explain(state) << std::endl; };
  const ble::Result now = client.CheckState(/*need_discoverable=*/false);
  std::cout << ble::Explain(now) << std::endl;
}

void WaitForTheAdapter(ble::Client& client) {
  client.on_retry = [](const ble::RetryReport& report) {
    std::cout << (report.success ? "usable" : "given up") << " after " << report.checks << " checks"
              << std::endl;
  };
  if (client.Init(/*retry_time=*/9) == ble::Result::kAdapterUnavailable) {
    std::cout << "checked again every 3 s, nine times at most" << std::endl;
  }
}

void Advertise(ble::Client& client) {
  client.on_status = [](const ble::PublisherStatus& status) {
    std::cout << "publisher status " << status.status << ", error " << status.error << std::endl;
    const bool in_use = status.error == ble::PublisherStatus::kPublisherInUse;
    if (status.status == ble::PublisherStatus::kStopped && in_use) {
      std::cout << "another program advertises: ask again later" << std::endl;
    }
  };
  const ble::Result result = client.StartBroadcast(kUuid, "room 4.02");  // 12 bytes at most
  if (result != ble::Result::kSuccess) std::cout << ble::Explain(result) << std::endl;
}

void AdvertiseSomethingElse(ble::Client& client) {
  // Stops and starts again by itself. While the publisher starts or stops, requests are ignored.
  client.StartBroadcast(kUuid, "room 4.03");
}

void WatchAllTheTime(ble::Client& client) {
  client.on_devices = [](const std::vector<ble::Device>& devices) {
    for (const ble::Device& device : devices) {
      std::cout << device.address << ", " << device.rssi << " dBm: " << device.data.value_or("")
                << std::endl;
    }
  };
  // What was heard in each second; nothing is reported of a second in which nothing was.
  client.StartWatch(kUuid, {.mode = 0, .continuous = true, .interval = std::chrono::seconds(1)});
}

void AskForDevices(ble::Client& client) {
  client.StartWatch(kUuid, {.mode = 0, .continuous = false});
  // The report comes with the next broadcast, and holds what was heard in the last 20 s.
  client.RequestDevices();
}

class ConsoleSink final : public base::log::LogSink {
 public:
  void Write(const base::log::LogRecord& record) override {
    std::clog << base::log::FormatLogRecord(record) + '\n';
  }
};

void Log() {
  base::log::AddLogSink(std::make_shared<ConsoleSink>());
  base::log::SetLogLevel(3);  // errors; 4 warnings, 6 everything that is done
}

std::int32_t CallWithoutTheClient(quorvel_service::IService& service) {
  namespace ids = quorvel_service::windows_ble;
  const auto arguments = std::make_shared<base::variant::Variant>();
  arguments->Set("need_check_discoverable", base::variant::Variant(false));
  const auto future = service.Call(ids::method::kCheckBleState, arguments);
  return future->Value()->Get("ret").AsInt32();
}

void CallTheModuleItself() {
  const ble::LoadedLibrary module(ble::kModuleFile);
  const auto create = module.Resolve<quorvel_service::QVCreateServiceFunction>("QVCreateService");
  const auto destroy =
      module.Resolve<quorvel_service::QVDestroyServiceFunction>("QVDestroyService");
  quorvel_service::IService* const service = create(quorvel_service::windows_ble::kServiceName);
  if (service == nullptr) return;
  std::cout << "state " << CallWithoutTheClient(*service) << std::endl;
  destroy(service);
}

}  // namespace

int main() try {
  base::threading::MainLooperScope looper;
  Log();
  CallTheModuleItself();
  looper.RunUntilIdle();

  ble::Client client(looper);
  FollowTheState(client);
  WaitForTheAdapter(client);
  Advertise(client);
  WatchAllTheTime(client);
  const auto change = base::threading::CreateTimer(
      [&client] {
        AdvertiseSomethingElse(client);
        AskForDevices(client);
      },
      {__FILE__, __LINE__});
  change->Start(500, /*repeat=*/false);
  const auto end = base::threading::CreateTimer([&looper] { looper.Quit(); }, {__FILE__, __LINE__});
  end->Start(1'500, /*repeat=*/false);
  looper.Run();
  return 0;
} catch (const ble::Error& error) {
  std::cerr << error.what() << std::endl;
  return 1;
}
