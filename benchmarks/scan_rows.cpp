// What a broadcast costs on its way through the module: dropped, cached, reported.

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <openssl/evp.h>
#include <plenar_base/time_source.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "benchmarks/harness.h"
#include "benchmarks/loaded_module.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace qvs_bench {
namespace {

namespace ble = quorvel_service::windows_ble;

// Dropped: the callable that the module gave to the library, against a bare loop of comparisons in
// a `std::function` over one UUID that never changes (no snapshot, no second thread allowed for).

using Bytes = std::vector<std::uint8_t>;
const Bytes kUuidBytes = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0,
                          0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};

BleBroadcastInfo OtherBroadcast(std::size_t uuids, std::uint16_t company) {
  BleBroadcastInfo info;
  info.address = "AA:BB:CC:DD:EE:FF";
  for (std::size_t i = 0; i < uuids; ++i) {
    info.service_uuids.push_back("0000180f-0000-1000-8000-00805f9b34f" + std::to_string(i));
  }
  info.manufacturer_data[company] = Bytes(24, 0x5A);
  return info;
}

const BleReceivedBroadcastCB& Ours() {
  auto& module = LoadedModule::Get();
  [[maybe_unused]] static const bool scanning = (module.Scan(0, false), true);
  return module.captured().received;
}

const BleReceivedBroadcastCB& Bare() {
  static const BleReceivedBroadcastCB bare =
      [uuid = std::string(kUuid), bytes = kUuidBytes,
       heard = std::vector<BleBroadcastInfo>()](const BleBroadcastInfo& info) mutable {
        bool matches = std::find(info.service_uuids.begin(), info.service_uuids.end(), uuid) !=
                       info.service_uuids.end();
        if (!matches) {
          const auto item = info.manufacturer_data.find(0x7E51);
          matches = item != info.manufacturer_data.end() && item->second.size() >= bytes.size() &&
                    std::equal(bytes.begin(), bytes.end(), item->second.begin());
        }
        if (matches) heard.push_back(info);
      };
  return bare;
}

template <const BleReceivedBroadcastCB& (*Callable)(), std::size_t uuids, std::uint16_t company>
void Drop(benchmark::State& state) {
  static const BleReceivedBroadcastCB& callable = Callable();
  const BleBroadcastInfo info = OtherBroadcast(uuids, company);
  for (auto _ : state) {
    callable(info);
    benchmark::ClobberMemory();
  }
}

template <std::size_t uuids, std::uint16_t company>
Row DropRow(const std::string& what) {
  return {"1 broadcast dropped: " + what,
          1.2,
          {{"ours", &Drop<&Ours, uuids, company>}, {"bare loop", &Drop<&Bare, uuids, company>}}};
}

const Registered kDropRows = {
    DropRow<0, 0x004C>("no UUID, another company"),
    DropRow<1, 0x004C>("1 UUID, another company"),
    DropRow<5, 0x004C>("5 UUIDs, another company"),
    DropRow<0, 0x7E51>("no UUID, company 0x7E51"),
    DropRow<1, 0x7E51>("1 UUID, company 0x7E51"),
    DropRow<5, 0x7E51>("5 UUIDs, company 0x7E51"),
    // Two threads are to do at least 1.8 times the work of one.
    {"1 broadcast dropped: two threads against one",
     1 / 1.8,
     {{"ours", &Drop<&Ours, 1, 0x7E51>, 2}, {"one thread", &Drop<&Ours, 1, 0x7E51>}}},
};

// Heard: from the callable to the cache on the main looper thread, against a copy that is handed
// over through a mutex and a condition variable, and put into a map there; both on one thread.

constexpr std::size_t kBatch = 64;

/// What a row hears; making it does not count.
std::vector<BleBroadcastInfo> Devices(std::size_t count) {
  std::vector<BleBroadcastInfo> devices;
  NotCounted([&] {
    for (std::size_t i = 0; i < count; ++i) devices.push_back(WatchedBroadcast(i));
  });
  return devices;
}

/// Empties the cache: in continuous mode a report does.
void EmptyCache() {
  auto& module = LoadedModule::Get();
  module.Scan(2, true);
  module.Call(ble::method::kGetBleScanCache, nullptr);
  module.captured().received(WatchedBroadcast(0));
  module.looper().RunUntilIdle();
}

/// In mode 1 a report asked for holds everything heard, and the cache stays.
void FillCache(const std::vector<BleBroadcastInfo>& devices) {
  auto& module = LoadedModule::Get();
  EmptyCache();
  module.Scan(1, false);
  for (const BleBroadcastInfo& info : devices) module.captured().received(info);
  module.looper().RunUntilIdle();
}

void HearOurs(benchmark::State& state) {
  NotCounted(&EmptyCache);
  auto& module = LoadedModule::Get();
  const auto devices = Devices(kBatch);
  for (auto _ : state) {
    for (const BleBroadcastInfo& info : devices) module.captured().received(info);
    module.looper().RunUntilIdle();
  }
  PerItem(state, kBatch);
}

void HearByQueue(benchmark::State& state) {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<BleBroadcastInfo> queue;
  std::map<std::string, BleBroadcastInfo> cache;
  const auto devices = Devices(kBatch);
  for (auto _ : state) {
    for (const BleBroadcastInfo& info : devices) {
      {
        const std::lock_guard lock(mutex);
        queue.push_back(info);
      }
      changed.notify_one();
    }
    std::vector<BleBroadcastInfo> taken;
    {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return !queue.empty(); });
      taken.swap(queue);
    }
    for (BleBroadcastInfo& info : taken) {
      std::string address = info.address;
      cache.insert_or_assign(std::move(address), std::move(info));
    }
  }
  PerItem(state, kBatch);
}

const Registered kHearRow = {
    {"2 broadcast heard, until it is in the cache",
     1.3,
     {{"ours", &HearOurs}, {"std::map by mutex and condition variable", &HearByQueue}}}};

// Reported: every cached device, against RapidJSON's pretty writer
// (https://rapidjson.org/classrapidjson_1_1_pretty_writer.html) which
// takes every text for valid UTF-8, and OpenSSL's Base64, over a map.

template <std::size_t devices>
void ReportOurs(benchmark::State& state) {
  auto& module = LoadedModule::Get();
  NotCounted([&] { FillCache(Devices(devices)); });
  const BleBroadcastInfo last = WatchedBroadcast(0);
  for (auto _ : state) {
    module.Call(ble::method::kGetBleScanCache, nullptr);
    module.captured().received(last);
    module.looper().RunUntilIdle();
  }
  if (module.LastReportSize() < devices * 300) state.SkipWithError("the report is not whole");
  PerItem(state, devices);
  NotCounted(&EmptyCache);
}

std::string Base64(const void* data, std::size_t size) {
  std::string text((size + 2) / 3 * 4 + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                      static_cast<const unsigned char*>(data), static_cast<int>(size));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

template <std::size_t devices>
void ReportByRapidJson(benchmark::State& state) {
  std::map<std::string, BleBroadcastInfo> cache;
  for (BleBroadcastInfo& info : Devices(devices)) cache.emplace(info.address, std::move(info));
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    const auto string = [&](const std::string& value) {
      writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    };
    const auto text = [&](const char* key, const std::string& value) {
      writer.Key(key);
      string(value);
    };
    writer.StartArray();
    for (const auto& [address, info] : cache) {
      writer.StartObject();
      text("device_id", address);
      text("name", "");
      writer.Key("is_connected");
      writer.Bool(false);
      writer.Key("connectable");
      writer.Bool(info.connectable);
      text("local_name", info.local_name);
      writer.Key("rssi");
      writer.Int(info.rssi);
      writer.Key("advertise_data");
      writer.StartArray();
      for (const auto& [company, data] : info.manufacturer_data) {
        string(Base64(data.data(), data.size()));
      }
      writer.EndArray();
      writer.Key("uuids");
      writer.StartArray();
      for (const std::string& uuid : info.service_uuids) string(Base64(uuid.data(), uuid.size()));
      writer.EndArray();
      writer.EndObject();
    }
    writer.EndArray();
    const std::string json(buffer.GetString(), buffer.GetSize());
    benchmark::DoNotOptimize(json.data());
  }
  PerItem(state, devices);
}

template <std::size_t devices>
Row ReportRow() {
  return {"3 report of " + std::to_string(devices) + " devices, for each",
          1.3,
          {{"ours", &ReportOurs<devices>}, {"RapidJSON PrettyWriter", &ReportByRapidJson<devices>}},
          {.iterations = devices > 1'000 ? 1 : 100, .picture = "report", .size = devices}};
}

const Registered kReportRows = {ReportRow<30>(), ReportRow<10'000>(), ReportRow<100'000>()};

// A device that was not cached yet, with others in the cache that are all fresh; against the same
// with 100 others. Each iteration fills the cache anew.

constexpr std::size_t kFresh = 64;

template <std::size_t cached>
void HearFresh(benchmark::State& state) {
  auto& module = LoadedModule::Get();
  const auto others = Devices(cached);
  std::vector<BleBroadcastInfo> fresh;
  NotCounted([&] {
    for (std::size_t i = 0; i < kFresh; ++i) {
      fresh.push_back(WatchedBroadcast((i * 0x9E3779B1u) | 0x80000000u));
    }
  });
  for (auto _ : state) {
    Paused(state, [&] { FillCache(others); });
    for (const BleBroadcastInfo& info : fresh) module.captured().received(info);
    module.looper().RunUntilIdle();
  }
  PerItem(state, kFresh);
}

template <std::size_t cached>
Row FreshRow() {
  return {"8 fresh device beside " + std::to_string(cached),
          1.3,
          {{"ours", &HearFresh<cached>}, {"ours beside 100", &HearFresh<100>}},
          {.iterations = 2, .picture = "fresh device", .size = cached}};
}

// The sweep of a cache in which everything has expired, for each device that goes.

constexpr std::size_t kExpired = 100'000;

/// A wall clock on which everything heard by the machine's has just expired.
struct LaterTime final : base::time::TimeSource {
  [[nodiscard]] std::uint64_t SteadyMilliseconds() const noexcept override {
    return machine->SteadyMilliseconds();
  }
  [[nodiscard]] std::uint64_t WallSeconds() const noexcept override {
    return machine->WallSeconds() + 22;
  }
  std::shared_ptr<const TimeSource> machine = base::time::GetTimeSource();
};

void Sweep(benchmark::State& state) {
  auto& module = LoadedModule::Get();
  const auto others = Devices(kExpired);
  const BleBroadcastInfo last = WatchedBroadcast(kExpired);
  for (auto _ : state) {
    Paused(state, [&] {
      FillCache(others);
      base::time::SetTimeSource(std::make_shared<LaterTime>());
    });
    module.captured().received(last);
    module.looper().RunUntilIdle();
    Paused(state, [] { base::time::SetTimeSource(nullptr); });
  }
  PerItem(state, kExpired);
}

const Registered kSweepRow = {{"8 sweep of 100,000 expired devices, for each",
                               1.0,
                               {{"ours", &Sweep}, Budget(300)},
                               {.iterations = 1}}};

const Registered kFreshRows = {FreshRow<1'000>(), FreshRow<20'000>(), FreshRow<100'000>()};

}  // namespace
}  // namespace qvs_bench
