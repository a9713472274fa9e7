#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

#include <plenar_base/log.h>

namespace quorvel_service {

/// Levels of log statements.
inline constexpr int kFatal = 1;
inline constexpr int kError = 3;
inline constexpr int kWarning = 4;
inline constexpr int kInformation = 6;

/// What a log line holds in decimal, booleans as 1 or 0. No other type is quietly converted.
template <class T>
concept LogNumber = std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t> ||
    std::same_as<T, std::uint64_t> || std::same_as<T, bool>;

/// A thread's buffer for the log line that is being put together. It never grows: text that does
/// not fit is dropped. Appending allocates nothing.
struct LogStream {
  char* data;             ///< `capacity` + 1 bytes, NUL-terminated at `length`.
  std::int32_t capacity;  ///< Bytes of text that fit.
  std::int32_t length;    ///< Bytes of text held.

  LogStream& operator<<(const char* text) noexcept {  ///< Null counts as empty.
    // Here, so that the length of a literal is no work.
    return text == nullptr ? *this : Append(text, std::char_traits<char>::length(text));
  }
  LogStream& operator<<(const std::string& text) noexcept {
    return Append(text.data(), text.size());
  }
  template <LogNumber Number>
  LogStream& operator<<(Number value) noexcept {
    char digits[20];  // as many as any 64-bit number has, and its sign
    const auto end = std::to_chars(std::begin(digits), std::end(digits), +value).ptr;
    return Append(digits, static_cast<std::size_t>(end - digits));
  }

 private:
  LogStream& Append(const char* text, std::size_t size) noexcept;
};

/// Writes one log line: made by a log statement, filled through `Stream()`, emitted by its
/// destructor at the end of the statement. Belongs to the thread that made it. Nothing fails
/// visibly: when memory runs out, that one line is lost.
class __logwriter {
 public:
  using Sink = std::function<void(std::string&& tag, std::string&& file, int line,
                                  std::string&& function, int level, std::string&& message)>;

  /// The longest message of every statement of the module, in bytes; a smaller maximum counts
  /// as this one.
  static constexpr std::int32_t kMinimumMaxLength = 1024;

  /// A line at this level is not shortened.
  static constexpr std::int32_t kUnlimitedLevel = 7;

  __logwriter(int at_level, std::string&& in_file, int at_line, std::string&& in_function,
              Sink to_sink, int requested_max_length);
  __logwriter(const __logwriter&) = delete;
  __logwriter& operator=(const __logwriter&) = delete;
  virtual ~__logwriter();

  /// The thread's buffer; without memory for it, one that has no room.
  [[nodiscard]] LogStream& Stream() noexcept;

 private:
  friend __logwriter MakeLogWriter(int, std::string_view, int, std::string_view) noexcept;
  __logwriter() noexcept = default;  // a lost line

  void Emit();

  LogStream* stream = nullptr;
  std::string file;
  std::string function;
  std::int32_t level = 0;
  std::int32_t line = 0;
  std::string tag;
  Sink sink;
  std::int32_t max_length = kMinimumMaxLength;
};

/// The writer of a log statement, for `base::log::PrintLog`.
[[nodiscard]] __logwriter MakeLogWriter(int level, std::string_view file, int line,
                                        std::string_view function) noexcept;

/// Hands a line of the BLE API library to the log under the tag "PlenarBle". Null texts count as
/// empty. [any thread]
void ForwardLibraryLog(const char* file, int line, const char* function, int level,
                       const char* message) noexcept;

/// Logs the exception that is being handled at level 3. See `QV_LOG_FAILURE`.
void LogFailure(std::string_view file, int line, std::string_view function) noexcept;

/// The part of a path behind its last separator.
consteval std::string_view BaseName(const char* path) {
  const char* name = path;
  for (const char* c = path; *c != '\0'; ++c) {
    if (*c == '/' || *c == '\\') name = c + 1;
  }
  return name;
}

}  // namespace quorvel_service

/// A log statement: `QV_LOG(kError) << "text" << number;`. With the level suppressed it costs one
/// `GetLogLevel` call, and no piece is evaluated.
#define QV_LOG(level) QV_LOG_AT(level, __func__, __LINE__)

/// A log statement whose function and line are fixed texts of the log, wherever it stands.
#define QV_LOG_AT(level, function, line) \
  QV_LOG_FROM(level, ::quorvel_service::BaseName(__FILE__), function, line)

#define QV_LOG_FROM(level, file, function, line) \
  if (::base::log::GetLogLevel() < (level)) {    \
  } else                                         \
    ::quorvel_service::MakeLogWriter(level, file, line, function).Stream()

/// A log statement that first, and only if the line is written, takes `value` into `name`: for
/// error codes, which building the writer can overwrite.
#define QV_LOG_TAKING(level, function, name, value) \
  if (::base::log::GetLogLevel() < (level)) {       \
  } else if (const auto name = (value); false) {    \
  } else                                            \
    QV_LOG_AT(level, function, __LINE__)

/// In a handler: logs the exception, which goes no further.
#define QV_LOG_FAILURE() \
  ::quorvel_service::LogFailure(::quorvel_service::BaseName(__FILE__), __LINE__, __func__)
