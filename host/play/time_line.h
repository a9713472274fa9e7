#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <plenar_base/log_sink.h>
#include <plenar_base/time_source.h>

namespace qvs_host {

/// Prints what happens, with the time of the clock, which outlives it. Also takes the log lines.
/// [any thread]
class TimeLine final : public base::log::LogSink {
 public:
  explicit TimeLine(const base::time::TimeSource& clock) : clock_(clock) {}

  void BeginStep(std::string_view title);
  /// `kind` is who does it, or what it is: "radio", "event".
  void Print(std::string_view kind, std::string_view text);
  /// Prints what comes of it, and remembers it.
  void Note(std::string_view kind, std::string_view text);
  /// Whether "KIND TEXT" of something that was noted in this step contains this.
  [[nodiscard]] bool HasSeen(std::string_view what);

  void Write(const base::log::LogRecord& record) override;

 private:
  const base::time::TimeSource& clock_;
  std::mutex mutex_;
  std::vector<std::string> seen_;
};

}  // namespace qvs_host
