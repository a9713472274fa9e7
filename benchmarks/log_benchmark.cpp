// What a log statement costs, beside the ways in which lines are commonly put together.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <sstream>
#include <string>

#include <plenar_base/log_sink.h>

#include "framework/log_writer.h"

namespace {

class DiscardingSink final : public base::log::LogSink {
 public:
  void Write(const base::log::LogRecord& record) override {
    benchmark::DoNotOptimize(record.message.data());
  }
};

const std::string kUuid = "12345678-9ABC-DEF0-1234-56789ABCDEF0";

void Emit(std::string message) {
  base::log::PrintLog("", "log_benchmark.cpp", 1, "Emit", quorvel_service::kInformation,
                      std::move(message));
}

class WithSink : public benchmark::Fixture {
 public:
  void SetUp(benchmark::State&) override {
    base::log::SetLogLevel(quorvel_service::kInformation);
    base::log::AddLogSink(sink_);
  }
  void TearDown(benchmark::State&) override {
    base::log::RemoveLogSink(sink_);
    base::log::SetLogLevel(0);
  }

 private:
  std::shared_ptr<base::log::LogSink> sink_ = std::make_shared<DiscardingSink>();
};

void SuppressedStatement(benchmark::State& state) {
  for (auto _ : state) {
    QV_LOG(quorvel_service::kInformation) << "start: " << true << ", uuid: " << kUuid;
  }
}
BENCHMARK(SuppressedStatement);

BENCHMARK_F(WithSink, LineByLogWriter)(benchmark::State& state) {
  for (auto _ : state) {
    QV_LOG(quorvel_service::kInformation)
        << "start: " << true << ", uuid: " << kUuid << ", publisher status: " << 4;
  }
}

BENCHMARK_F(WithSink, LineByStringStream)(benchmark::State& state) {
  for (auto _ : state) {
    std::ostringstream line;
    line << "start: " << true << ", uuid: " << kUuid << ", publisher status: " << 4;
    Emit(line.str());
  }
}

BENCHMARK_F(WithSink, LineBySnprintf)(benchmark::State& state) {
  for (auto _ : state) {
    char line[1024];
    std::snprintf(line, sizeof(line), "start: %d, uuid: %s, publisher status: %d", 1, kUuid.c_str(),
                  4);
    Emit(line);
  }
}

}  // namespace
