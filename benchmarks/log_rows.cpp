// What a log statement of six pieces costs: to a sink that drops it, without a sink, suppressed.

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include <fmt/format.h>
#include <plenar_base/log_sink.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include "benchmarks/harness.h"
#include "framework/log_writer.h"

namespace qvs_bench {
namespace {

constexpr int kInformation = 6;
constexpr int kError = 3;

const std::string kUuidText = "12345678-9ABC-DEF0-1234-56789ABCDEF0";
const std::uint32_t kMode = 2;

struct NullSink final : base::log::LogSink {
  void Write(const base::log::LogRecord& record) override { benchmark::DoNotOptimize(&record); }
};

void WriteOurs(benchmark::State& state) {
  for (auto _ : state) {
    QV_LOG(kInformation) << "start: " << true << ", uuid: " << kUuidText
                         << ", scan mode: " << kMode;
  }
}

template <int level>
void OursToNullSink(benchmark::State& state) {
  const auto sink = std::make_shared<NullSink>();
  base::log::SetLogLevel(level);
  NotCounted([&] { base::log::AddLogSink(sink); });
  WriteOurs(state);
  NotCounted([&] { base::log::RemoveLogSink(sink); });
}

void OursWithoutSink(benchmark::State& state) {
  base::log::SetLogLevel(kInformation);
  WriteOurs(state);
}

/// https://github.com/gabime/spdlog/wiki: the file, line and function of the statement, the time
/// and the thread go with the line; the sink is safe for threads.
template <spdlog::level::level_enum level>
void Spdlog(benchmark::State& state) {
  spdlog::logger logger("name", std::make_shared<spdlog::sinks::null_sink_mt>());
  logger.set_level(level);
  for (auto _ : state) {
    SPDLOG_LOGGER_INFO(&logger, "start: {}, uuid: {}, scan mode: {}", true, kUuidText, kMode);
  }
}

/// https://fmt.dev/latest/api.html#buffered-formatting, the time, and a sink behind a mutex.
void Fmt(benchmark::State& state) {
  std::mutex mutex;
  for (auto _ : state) {
    fmt::memory_buffer text;
    fmt::format_to(std::back_inserter(text), "start: {}, uuid: {}, scan mode: {}", true, kUuidText,
                   kMode);
    const auto now = std::chrono::system_clock::now();
    const std::lock_guard lock(mutex);
    benchmark::DoNotOptimize(text.data());
    benchmark::DoNotOptimize(now);
  }
}

constexpr double kNoSinkBefore = 92;  // nanoseconds

const Registered kRows = {
    {"4 log line of six pieces to a null sink",
     0.9,
     {{"ours", &OursToNullSink<kInformation>},
      {"spdlog", &Spdlog<spdlog::level::info>},
      {"fmt and a mutex", &Fmt}}},
    {"4 the same without a sink", 0.5, {{"ours", &OursWithoutSink}, Budget(kNoSinkBefore)}},
    {"4 suppressed statement",
     0.5,
     {{"ours", &OursToNullSink<kError>}, {"spdlog", &Spdlog<spdlog::level::err>}}},
};

}  // namespace
}  // namespace qvs_bench
