// What a broadcast costs on its way into the scan cache, beside the plain ways of doing the same.

#include <benchmark/benchmark.h>

#include <map>
#include <mutex>
#include <regex>
#include <string>

#include "services/implement/windows_ble/src/windows/scan_cache.h"
#include "services/implement/windows_ble/src/windows/uuid.h"
#include "services/implement/windows_ble/src/windows/watch_filter.h"

namespace {

using quorvel_service::ScanCache;
using quorvel_service::ScanCacheItem;

const std::string kUuid = "12345678-9ABC-DEF0-1234-56789ABCDEF0";
constexpr std::uint64_t kNow = 1'700'000'000;

/// A broadcast of another product: it has a service and manufacturer data, neither watched.
BleBroadcastInfo OtherBroadcast() {
  BleBroadcastInfo info;
  info.address = "AA:BB:CC:DD:EE:FF";
  info.service_uuids = {"0000180f-0000-1000-8000-00805f9b34fb"};
  info.manufacturer_data[quorvel_service::kCompanyId] = std::vector<std::uint8_t>(24, 0x5A);
  return info;
}

void FilterOtherBroadcast(benchmark::State& state) {
  quorvel_service::WatchFilter filter;
  filter.Watch(kUuid);
  const BleBroadcastInfo info = OtherBroadcast();
  for (auto _ : state) benchmark::DoNotOptimize(filter.Matches(info));
}
BENCHMARK(FilterOtherBroadcast);

/// The peer: the text behind a lock, converted for every broadcast.
void FilterOtherBroadcastByLock(benchmark::State& state) {
  std::mutex mutex;
  const BleBroadcastInfo info = OtherBroadcast();
  for (auto _ : state) {
    std::string watched;
    {
      const std::lock_guard lock(mutex);
      watched = kUuid;
    }
    const auto bytes = quorvel_service::UuidStringToBytes(watched);
    const auto& data = info.manufacturer_data.at(quorvel_service::kCompanyId);
    benchmark::DoNotOptimize(info.service_uuids.front() == watched ||
                             std::equal(bytes.begin(), bytes.end(), data.begin()));
  }
}
BENCHMARK(FilterOtherBroadcastByLock);

std::string Address(std::int64_t number) {
  return "device " + std::to_string(1'000'000 + number);
}

ScanCacheItem Item(std::int64_t number) {
  ScanCacheItem item;
  item.device_id = Address(number);
  item.timestamp = kNow;
  return item;
}

void SweepFreshCache(benchmark::State& state) {
  ScanCache cache;
  for (std::int64_t i = 0; i < state.range(0); ++i) cache.Store(Item(i));
  for (auto _ : state) {
    cache.RemoveExpired(kNow + 1);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(SweepFreshCache)->Range(32, 32768);

/// The peer: a walk over the whole map.
void SweepFreshMap(benchmark::State& state) {
  std::map<std::string, ScanCacheItem> cache;
  for (std::int64_t i = 0; i < state.range(0); ++i) cache.emplace(Address(i), Item(i));
  for (auto _ : state) {
    std::erase_if(cache, [](const auto& entry) { return kNow + 1 - entry.second.timestamp > 20; });
    benchmark::ClobberMemory();
  }
}
BENCHMARK(SweepFreshMap)->Range(32, 32768);

void CheckUuid(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(quorvel_service::IsValidUuid(kUuid));
}
BENCHMARK(CheckUuid);

/// The peer: the pattern as a regular expression, compiled once.
void CheckUuidByRegex(benchmark::State& state) {
  const std::regex pattern(
      "^([0-9a-zA-Z]{8})-([0-9a-zA-Z]{4})-([0-9a-zA-Z]{4})-([0-9a-zA-Z]{4})-([0-9a-zA-Z]{12})$");
  for (auto _ : state) benchmark::DoNotOptimize(std::regex_match(kUuid, pattern));
}
BENCHMARK(CheckUuidByRegex);

}  // namespace
