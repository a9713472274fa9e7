#pragma once

#include <cstddef>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// One row of the table: a piece of work, done by us and by what an engineer would use instead. All
/// sides of all rows run interleaved in one process; the least of the repetitions counts.
///
/// Rows register themselves:
///
///     const Registered kRows = {
///         {"Base64 of 28 bytes",
///          1.0,
///          {{"ours", &EncodeOurs}, {"OpenSSL EVP_EncodeBlock", &EncodeOpenSsl}}},
///     };
namespace qvs_bench {

using Function = void (*)(benchmark::State& state);

struct Side {
  std::string name;
  /// Null: a budget. What a peer's does, and where that is documented, stands beside it.
  Function function = nullptr;
  int threads = 1;
  /// Of one item, the least so far; of a budget, its fixed cost.
  double nanoseconds = std::numeric_limits<double>::infinity();
  double allocations = 0;  ///< Of one item, on the measuring thread.
};

/// A fixed cost in a peer's place.
inline Side Budget(double nanoseconds) {
  return {.name = "budget", .nanoseconds = nanoseconds};
}

struct Row {
  struct Options {
    /// Of each repetition, for work with a long set-up; 0: as many as the shortest time takes.
    int iterations = 0;
    bool times_itself = false;  ///< The functions set the time of an iteration.
    /// The picture of cost against size that this is a point of: its rows make one line.
    std::string picture = {};
    double size = 0;
  };

  std::string name;
  double goal;              ///< The most that ours ÷ fastest peer may be.
  std::vector<Side> sides;  ///< Ours is the first.
  Options options = {};
};

/// All rows, in the order of their registration.
[[nodiscard]] std::vector<Row>& Rows();

struct Registered {
  Registered(std::initializer_list<Row> rows) { Rows().insert(Rows().end(), rows); }
};

/// For a benchmark whose iteration does `items` pieces of the work: its cost is given for one.
inline void PerItem(benchmark::State& state, double items) {
  state.counters["items"] = items;
}

/// How often the calling thread has taken memory, through `malloc` and all that comes down to it;
/// can be changed, so that what is not part of the work does not count.
[[nodiscard]] std::size_t& AllocationCount() noexcept;

/// Runs what is not part of the work, before, between or after the iterations.
template <class F>
void NotCounted(const F& function) {
  const std::size_t before = AllocationCount();
  function();
  AllocationCount() = before;
}

/// The same inside an iteration.
template <class F>
void Paused(benchmark::State& state, const F& function) {
  state.PauseTiming();
  NotCounted(function);
  state.ResumeTiming();
}

}  // namespace qvs_bench
