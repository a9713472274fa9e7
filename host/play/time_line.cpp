#include "host/play/time_line.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <sstream>

#include <plenar_base/log_sink.h>

#include "host/output.h"

namespace qvs_host {

void TimeLine::BeginStep(std::string_view title) {
  std::lock_guard lock(mutex_);
  seen_.clear();
  PrintLine('\n' + std::string(title));
}

void TimeLine::Print(std::string_view kind, std::string_view text) {
  const std::uint64_t now = clock_.SteadyMilliseconds();
  std::ostringstream line;
  line << std::setw(6) << now / 1000 << '.' << std::setw(3) << std::setfill('0') << now % 1000
       << std::setfill(' ') << "  " << std::left << std::setw(6) << kind << "  " << text;
  PrintLine(line.str());
}

void TimeLine::Note(std::string_view kind, std::string_view text) {
  std::lock_guard lock(mutex_);
  seen_.push_back(std::string(kind) + ' ' + std::string(text));
  Print(kind, text);
}

bool TimeLine::HasSeen(std::string_view what) {
  std::lock_guard lock(mutex_);
  return std::ranges::any_of(
      seen_, [what](const std::string& line) { return line.find(what) != std::string::npos; });
}

void TimeLine::Write(const base::log::LogRecord& record) {
  Note("log", base::log::FormatLogRecord(record));
}

}  // namespace qvs_host
