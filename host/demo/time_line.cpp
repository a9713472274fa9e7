#include "host/demo/time_line.h"

#include <iomanip>
#include <string>

namespace qvs_host {

TimeLine::TimeLine(std::ostream& out, const base::time::TimeSource& clock, ExpectationTable& table)
    : out_(out), clock_(clock), start_ms_(clock.SteadyMilliseconds()), table_(table) {}

void TimeLine::Title(std::string_view title) {
  std::lock_guard lock(mutex_);
  out_ << '\n' << title << '\n';
}

void TimeLine::Note(Kind kind, std::string_view text) {
  const std::uint64_t now = clock_.SteadyMilliseconds() - start_ms_;
  std::lock_guard lock(mutex_);
  out_ << std::setw(6) << now / 1000 << '.' << std::setw(3) << std::setfill('0') << now % 1000
       << std::setfill(' ') << "  " << std::left << std::setw(6) << KindName(kind) << std::right
       << "  " << text << '\n';
  table_.Observe(kind, text);
}

void TimeLine::Write(const base::log::LogRecord& record) {
  Note(Kind::kLog, base::log::FormatLogRecord(record));
}

}  // namespace qvs_host
