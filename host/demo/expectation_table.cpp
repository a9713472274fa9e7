#include "host/demo/expectation_table.h"

#include <algorithm>
#include <iomanip>

namespace qvs_host {

void ExpectationTable::BeginStep() {
  step_begin_ = rows_.size();
}

void ExpectationTable::Expect(const std::vector<Expectation>& expectations) {
  for (const Expectation& expectation : expectations) rows_.push_back({expectation});
}

void ExpectationTable::Observe(Kind kind, std::string_view text) {
  for (std::size_t i = step_begin_; i < rows_.size(); ++i) {
    const Expectation& expected = rows_[i].expected;
    if (expected.kind == kind && text.find(expected.text) != std::string_view::npos) {
      ++rows_[i].seen;
    }
  }
}

bool ExpectationTable::AllMet() const {
  return !rows_.empty() && std::all_of(rows_.begin(), rows_.end(), [](const Row& row) {
    return row.seen == row.expected.times;
  });
}

void ExpectationTable::Print(std::ostream& out) const {
  for (const auto& [expected, seen] : rows_) {
    const char* const mark = seen == expected.times  ? "  ok       "
                             : seen < expected.times ? "  MISSING  "
                                                     : "  TOO MANY ";
    out << mark << std::setw(2) << seen << " of " << std::setw(2) << expected.times << "  "
        << expected.what << '\n';
  }
}

}  // namespace qvs_host
