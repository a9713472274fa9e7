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
  std::uint64_t timestamp;  ///< Wall-clock seconds, from the process's time source.
  const std::string& tag;
  const std::string& file;
  int line;
  const std::string& function;
  int level;
  const std::string& message;
};

/// Receives lines one at a time: calls never overlap, whatever threads write. What a sink
/// logs itself is dropped, what it throws is swallowed.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void Write(const LogRecord& record) = 0;
};

/// Sets the configured level (initially 0: nothing is written). [any thread]
PLENAR_BASE_EXPORT void SetLogLevel(int level) noexcept;

/// How often `GetCheckLogLength` has been asked: how many over-long lines were cut. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::uint64_t GetLongLineCount() noexcept;

/// Adds a sink; shared ownership until it is removed. Adding one twice changes nothing.
/// [any thread]
PLENAR_BASE_EXPORT void AddLogSink(std::shared_ptr<LogSink> sink);

/// Removes a sink. When the call returns, no line is being written to it and none will be.
/// [any thread, but not from inside a sink]
PLENAR_BASE_EXPORT void RemoveLogSink(const std::shared_ptr<LogSink>& sink);

/// A sink that writes laid-out lines to the standard error stream.
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<LogSink> MakeStderrSink();

/// A sink that appends laid-out lines to a file, flushed line by line. Throws
/// `std::system_error` when the file cannot be opened.
[[nodiscard]] PLENAR_BASE_EXPORT std::shared_ptr<LogSink> MakeFileSink(
    const std::filesystem::path& file);

/// The text of a line as both sinks lay it out, without a line end. Control characters in the
/// message are escaped, so one record is always one line.
[[nodiscard]] PLENAR_BASE_EXPORT std::string FormatLogRecord(const LogRecord& record);

}  // namespace base::log
