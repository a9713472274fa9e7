#include "host/demo/expectation_table.h"

#include <algorithm>
#include <utility>

namespace qvs_host {

void ExpectationTable::BeginStep(std::string title) {
  steps_.push_back({std::move(title), {}});
}

void ExpectationTable::Expect(const std::vector<Expectation>& expectations) {
  for (const Expectation& expectation : expectations) steps_.back().rows.push_back({expectation});
}

void ExpectationTable::Observe(Kind kind, std::string_view text) {
  if (steps_.empty()) return;
  for (auto& [expected, seen] : steps_.back().rows) {
    if (expected.kind == kind && text.find(expected.text) != std::string_view::npos) ++seen;
  }
}

bool ExpectationTable::AllMet() const {
  const auto step_met = [](const Step& step) {
    return !step.rows.empty() && std::ranges::all_of(step.rows, [](const Row& row) {
      return row.seen == row.expected.times;
    });
  };
  return !steps_.empty() && std::ranges::all_of(steps_, step_met);
}

void ExpectationTable::Print(std::ostream& out) const {
  for (const auto& [title, rows] : steps_) {
    out << title << '\n';
    for (const auto& [expected, seen] : rows) {
      const char* const mark = seen == expected.times  ? "  ok       "
                               : seen < expected.times ? "  MISSING  "
                                                       : "  TOO MANY ";
      out << mark << seen << " of " << expected.times << "  " << expected.what << '\n';
    }
  }
}

}  // namespace qvs_host
