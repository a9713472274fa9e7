#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include <plenar_base/log_sink.h>

namespace base::log {
namespace {

/// Fatal, critical, error, warning, notice, information, verbose; by level.
constexpr std::string_view kLevelLetters = "?FCEWNIV";

char LevelLetter(int level) {
  const bool known = level > 0 && level < static_cast<int>(kLevelLetters.size());
  return known ? kLevelLetters[static_cast<std::size_t>(level)] : '?';
}

/// "2023-11-14T22:13:20.123Z"
void AppendDateTime(std::string& out, std::uint64_t timestamp) {
  // Kept in the range that the calendar's years can show.
  constexpr std::uint64_t kLatest = 253'402'300'799'999;  // 9999-12-31T23:59:59.999Z
  const std::chrono::sys_time<std::chrono::milliseconds> time{
      std::chrono::milliseconds(static_cast<std::int64_t>(std::min(timestamp, kLatest)))};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss clock{time - day};

  std::array<char, 64> text;
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
      static_cast<int>(clock.subseconds().count()));
  out.append(text.data(), static_cast<std::size_t>(length));
}

void AppendEscaped(std::string& out, std::string_view text) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c == '\t') {
      out += "\\t";
    } else {
      out += "\\x";
      out += kHexDigits[byte >> 4];
      out += kHexDigits[byte & 0xF];
    }
  }
}

}  // namespace

std::string FormatLogRecord(const LogRecord& record) {
  std::string out;
  out.reserve(64 + record.tag.size() + record.file.size() + record.function.size() +
              record.message.size());
  AppendDateTime(out, record.timestamp);
  out += ' ';
  out += LevelLetter(record.level);
  out += " #";
  out += std::to_string(record.thread);
  out += ' ';
  if (!record.tag.empty()) {
    out += '[';
    AppendEscaped(out, record.tag);
    out += "] ";
  }
  AppendEscaped(out, record.file);
  out += ':';
  out += std::to_string(record.line);
  out += ' ';
  AppendEscaped(out, record.function);
  out += ": ";
  AppendEscaped(out, record.message);
  return out;
}

}  // namespace base::log
