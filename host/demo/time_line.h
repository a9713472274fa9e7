#pragma once

#include <cstdint>
#include <mutex>
#include <ostream>
#include <string_view>

#include <plenar_base/log_sink.h>
#include <plenar_base/time_source.h>

#include "host/demo/expectation_table.h"

namespace qvs_host {

/// Notes down what happens: prints it with the time of the clock, and counts it in the table. Also
/// takes the log lines. The clock, the stream and the table outlive it. [any thread]
class TimeLine final : public base::log::LogSink {
 public:
  TimeLine(std::ostream& out, const base::time::TimeSource& clock, ExpectationTable& table);

  /// Prints a step's title over what follows.
  void Title(std::string_view title);
  void Note(Kind kind, std::string_view text);

  void Write(const base::log::LogRecord& record) override;

 private:
  std::mutex mutex_;
  std::ostream& out_;
  const base::time::TimeSource& clock_;
  const std::uint64_t start_ms_;
  ExpectationTable& table_;
};

}  // namespace qvs_host
