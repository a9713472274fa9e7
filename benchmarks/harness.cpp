#include "benchmarks/harness.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string_view>
#include <thread>

// The C library's own allocator behind the counting one below.
extern "C" void* __libc_malloc(std::size_t size);  // NOLINT(bugprone-reserved-identifier)

namespace {

thread_local std::size_t taken = 0;

}  // namespace

/// Counts what every library of the process takes, whatever it is written in.
extern "C" void* malloc(std::size_t size) noexcept {
  ++taken;
  return __libc_malloc(size);
}

namespace qvs_bench {
namespace {

/// A row's side as Google Benchmark knows it.
std::string KeyOf(const Row& row, const Side& side) {
  return row.name + '/' + side.name;
}

void Register(const Row& row, const Side& side) {
  if (side.function == nullptr) return;
  const auto measured = [function = side.function](benchmark::State& state) {
    const std::size_t before = AllocationCount();
    function(state);
    const auto iterations =
        static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1));
    state.counters["allocations"] = static_cast<double>(AllocationCount() - before) / iterations;
  };
  auto* const registered = benchmark::RegisterBenchmark(KeyOf(row, side).c_str(), measured);
  registered->Threads(side.threads);
  if (row.options.iterations > 0) registered->Iterations(row.options.iterations);
  if (row.options.times_itself) {
    registered->UseManualTime();
  } else {
    registered->UseRealTime();
  }
}

/// Keeps the least of each side's repetitions.
class LeastReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      if (run.error_occurred) {
        std::fprintf(stderr, "%s: %s\n", run.run_name.str().c_str(), run.error_message.c_str());
        failed = true;
        continue;
      }
      Keep(run);
    }
  }

  bool failed = false;

 private:
  static void Keep(const Run& run) {
    const auto items = run.counters.find("items");
    const double per_iteration = items == run.counters.end() ? 1.0 : items->second.value;
    const double nanoseconds = run.GetAdjustedRealTime() / per_iteration;
    for (Row& row : Rows()) {
      for (Side& side : row.sides) {
        if (KeyOf(row, side) != run.run_name.function_name || nanoseconds >= side.nanoseconds) {
          continue;
        }
        side.nanoseconds = nanoseconds;
        side.allocations = run.counters.at("allocations").value / per_iteration;
      }
    }
  }
};

std::string Number(double value, const char* format) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Time(double nanoseconds) {
  if (nanoseconds < 1e3) return Number(nanoseconds, "%.1f ns");
  if (nanoseconds < 1e6) return Number(nanoseconds / 1e3, "%.2f µs");
  return Number(nanoseconds / 1e6, "%.2f ms");
}

/// A row that was measured: ours and the fastest peer.
std::string Line(const Row& row) {
  std::string peers;
  double fastest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 1; i < row.sides.size(); ++i) {
    const Side& peer = row.sides[i];
    if (i > 1) peers += ", ";
    peers += peer.name + ' ' + Time(peer.nanoseconds);
    fastest = std::min(fastest, peer.nanoseconds);
  }
  const Side& ours = row.sides.front();
  const double ratio = ours.nanoseconds / fastest;
  return "| " + row.name + " | " + Time(ours.nanoseconds) + " | " +
         Number(ours.allocations, "%.1f") + " | " + peers + " | " + Number(ratio, "%.2f") + " | " +
         Number(row.goal, "%.2f") + " | " + (ratio <= row.goal ? "yes" : "no") + " |\n";
}

bool IsMeasured(const Row& row) {
  return std::ranges::all_of(row.sides,
                             [](const Side& side) { return std::isfinite(side.nanoseconds); });
}

std::string Table() {
  std::string table =
      "| work | ours | allocations | peers | ours ÷ fastest | goal | met |\n"
      "|---|---|---|---|---|---|---|\n";
  for (const Row& row : Rows()) {
    if (IsMeasured(row)) table += Line(row);
  }
  return table;
}

/// The points of the pictures: picture, side, size, nanoseconds; one a line.
std::string Points() {
  std::string points;
  for (const Row& row : Rows()) {
    if (row.options.picture.empty() || !IsMeasured(row)) continue;
    for (const Side& side : row.sides) {
      points += row.options.picture + '\t' + side.name + '\t' + Number(row.options.size, "%.0f") +
                '\t' + Number(side.nanoseconds, "%.2f") + '\n';
    }
  }
  return points;
}

/// The value of an option of ours, which is taken out of the arguments; empty if it is not there.
std::string TakeOption(std::vector<char*>& arguments, std::string_view option) {
  const auto found = std::ranges::find_if(
      arguments, [&](std::string_view argument) { return argument.starts_with(option); });
  if (found == arguments.end()) return {};
  const std::string value = *found + option.size();
  arguments.erase(found);
  return value;
}

int Run(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const std::string table_file = TakeOption(arguments, "--table=");
  const std::string points_file = TakeOption(arguments, "--points=");
  // Many short repetitions, all sides interleaved; what the caller names comes later and counts.
  for (const char* const usual : {"--benchmark_enable_random_interleaving=true",
                                  "--benchmark_repetitions=30", "--benchmark_min_time=0.01"}) {
    arguments.insert(arguments.begin() + 1, const_cast<char*>(usual));
  }
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  for (const Row& row : Rows()) {
    for (const Side& side : row.sides) Register(row, side);
  }
  // A host has other threads, and pays for the locks that the libraries spare a process without.
  std::thread([] {}).join();
  LeastReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const std::string table = Table();
  std::fputs(table.c_str(), stdout);
  if (!table_file.empty()) std::ofstream(table_file) << table;
  if (!points_file.empty()) std::ofstream(points_file) << Points();
  return reporter.failed ? 1 : 0;
}

}  // namespace

std::vector<Row>& Rows() {
  static std::vector<Row> rows;
  return rows;
}

std::size_t& AllocationCount() noexcept {
  return taken;
}

}  // namespace qvs_bench

int main(int argc, char** argv) {
  return qvs_bench::Run(argc, argv);
}
