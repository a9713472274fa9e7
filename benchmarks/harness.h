#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// One row of the table: a piece of work, done by us and by what an engineer would use instead. All
/// sides of all rows run interleaved in one process; the least of the repetitions counts.
///
/// Rows register themselves:
///
///     const Row kBase64 = Row("Base64 of 28 bytes", 1.0)
///                             .Ours(&EncodeOurs)
///                             .Peer("OpenSSL EVP_EncodeBlock", &EncodeOpenSsl);
namespace qvs_bench {

using Function = void (*)(benchmark::State& state);

class Row {
 public:
  /// `goal`: the most that ours ÷ fastest peer may be.
  Row(std::string name, double goal);

  Row& Ours(Function function, int threads = 1);
  /// What it does, and where that is documented, stands beside the peer's function.
  Row& Peer(std::string name, Function function, int threads = 1);
  /// A fixed cost, in nanoseconds, in a peer's place.
  Row& Budget(double nanoseconds);
  /// Exactly so many iterations in each repetition, for work with a long set-up.
  Row& Iterations(int count);
  /// The functions set the time of an iteration themselves.
  Row& TimesItself();
  /// A point of a picture of cost against size: rows of one `picture` make one line.
  Row& At(std::string picture, double size);

  struct Side {
    std::string name;
    Function function;  ///< Null: a budget.
    int threads;
    double nanoseconds;  ///< Of one item, the least so far.
    double allocations;  ///< Of one item, on the measuring thread.
  };

  std::string name;
  double goal;
  int iterations = 0;  ///< 0: as many as the shortest time of a repetition takes.
  bool times_itself = false;
  std::string picture;
  double size = 0;
  std::vector<Side> sides;  ///< Ours is the first.
};

/// All rows, in the order of their registration.
[[nodiscard]] std::vector<Row>& Rows();

/// Registers a row; what its constructor's chain gives is copied.
struct Registered {
  Registered(const Row& row) { Rows().push_back(row); }  // NOLINT(google-explicit-constructor)
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
