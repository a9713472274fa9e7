#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/demo/observation.h"

namespace qvs_host {

/// Something that is to be observed an exact number of times.
struct Expectation {
  std::string what;  ///< In words.
  Kind kind;
  std::string text;  ///< Is contained in the observation.
  int times = 1;     ///< 0: it must not happen.
};

/// What was to happen, step by step, and how often it did.
class ExpectationTable {
 public:
  /// Begins a step: what earlier steps expected is settled.
  void BeginStep(std::string title);
  /// Adds to what the present step expects. There has to be one.
  void Expect(const std::vector<Expectation>& expectations);

  /// Counts an observation for every expectation of the present step that it fits.
  void Observe(Kind kind, std::string_view text);

  /// Whether every step, of which there is at least one, expected something, and everything was
  /// seen as often as it was expected.
  [[nodiscard]] bool AllMet() const;

  /// Writes a line per step and per expectation.
  void Print(std::ostream& out) const;

 private:
  struct Row {
    Expectation expected;
    int seen = 0;
  };
  struct Step {
    std::string title;
    std::vector<Row> rows;
  };

  std::vector<Step> steps_;  ///< The last one is the present one.
};

}  // namespace qvs_host
