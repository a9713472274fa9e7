#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <plenar_base/plenar_base_export.h>

/// The host's side of logging: the level and where lines go.
namespace base::log {

/// One log line as it reaches a sink. The references are valid during the call only.
struct LogRecord {
  std::uint64_t timestamp;  ///< Wall-clock milliseconds, from the process's time source.
  unsigned thread;          ///< Threads are numbered from 1 in the order of their first lines.
  const std::string& tag;
  const std::string& file;
  int line;
  const std::string& function;
  int level;
  const std::string& message;
};

/// Receives lines. Sinks are called one at a time, whatever threads write, and without a lock. A
/// line that comes while another thread is in a sink is left to that thread, which writes it
/// next: only then it can be that `PrintLog` returns before its line is written.
///
/// What a sink logs while it is given a line is written after that line, to every sink; what one
/// logs while it is given such a line is dropped. What a sink throws is swallowed.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void Write(const LogRecord& record) = 0;
};

/// Sets the configured level (initially 0: nothing is written). [any thread]
PLENAR_BASE_EXPORT void SetLogLevel(int level) noexcept;

/// Adds a sink; shared ownership until it is removed. Adding one twice changes nothing.
/// [any thread]
PLENAR_BASE_EXPORT void AddLogSink(std::shared_ptr<LogSink> sink);

/// Removes a sink. When the call returns, the lines of before have been written to it, none is
/// being written and none will be. From inside a sink: none will be. [any thread]
PLENAR_BASE_EXPORT void RemoveLogSink(const std::shared_ptr<LogSink>& sink);

/// A sink that writes laid-out lines to the standard error stream.
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<LogSink> MakeStderrSink();

/// A sink that appends laid-out lines to a file. They reach the file at once from level 3 on,
/// others within a second and when the sink is destroyed. A line that would make the file larger
/// than `max_bytes` begins a new one; the old one is kept as "<file>.1". Throws
/// `std::system_error` when the file cannot be opened.
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<LogSink> MakeFileSink(
    const std::filesystem::path& file, std::uint64_t max_bytes = 10'000'000);

/// The text of a line as both sinks lay it out, without a line end. Control characters in the
/// message are escaped, so one record is always one line.
[[nodiscard]] PLENAR_BASE_EXPORT std::string FormatLogRecord(const LogRecord& record);

}  // namespace base::log
