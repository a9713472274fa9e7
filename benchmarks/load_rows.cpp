#include <cstdio>

#include "benchmarks/harness.h"

namespace qvs_bench {
namespace {

/// In a process of its own: taking the module down would end the services of the other rows.
void Live(benchmark::State& state) {
  for (auto _ : state) {
    std::FILE* const life = popen(QVS_LIFE_PROGRAM, "r");
    double nanoseconds = 0;
    if (life == nullptr || std::fscanf(life, "%lf", &nanoseconds) != 1) {
      state.SkipWithError("the service did not come up");
    }
    if (life != nullptr) pclose(life);
    state.SetIterationTime(nanoseconds / 1e9);
  }
}

const Registered kLifeRow = {{"10 load, create, check, destroy, unload, without the signature",
                              1.0,
                              {{"ours", &Live}, Budget(120'000)},
                              {.iterations = 1, .times_itself = true}}};

}  // namespace
}  // namespace qvs_bench
