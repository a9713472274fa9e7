#pragma once

#include <string>
#include <utility>
#include <vector>

#include <plenar_base/log.h>
#include <plenar_base/thread_local.h>

// The base library's log and thread-local slots as the log line writer sees them, defined here in
// place of the library. To be included by one source.
namespace log_double {

struct Line {
  std::string tag;
  std::string file;
  int line;
  std::string function;
  int level;
  std::string message;
  bool operator==(const Line&) const = default;
};

int level = 6;
int level_queries = 0;
int length_queries = 0;
bool record = true;  // Off: lines are dropped, and the double allocates nothing.
std::vector<Line> lines;

// The writer has one key; with another the slot stays empty.
constexpr std::string_view kKey = "base.log.stream";
struct Slot {
  bool initialized = false;
  void* value = nullptr;
  base::threading::ThreadLocal::Cleanup cleanup = nullptr;
};
thread_local Slot slot;

/// Ends the calling thread as far as its slot is concerned.
inline void CleanUpSlot() {
  if (slot.value != nullptr) slot.cleanup(std::exchange(slot.value, nullptr));
}

}  // namespace log_double

namespace base::log {

int GetLogLevel() noexcept {
  ++log_double::level_queries;
  return log_double::level;
}

bool GetCheckLogLength() noexcept {
  ++log_double::length_queries;
  return false;
}

void PrintLog(std::string&& tag, std::string&& file, int line, std::string&& function, int level,
              std::string&& message) {
  if (!log_double::record) return;
  log_double::lines.push_back(
      {std::move(tag), std::move(file), line, std::move(function), level, std::move(message)});
}

}  // namespace base::log

namespace base::threading {

void* ThreadLocal::GetValue(std::string_view key) noexcept {
  return key == log_double::kKey ? log_double::slot.value : nullptr;
}

void ThreadLocal::SetValue(std::string_view key, void* value, Cleanup cleanup) {
  if (key == log_double::kKey && log_double::slot.initialized) {
    log_double::slot = {true, value, cleanup};
  }
}

void ThreadLocal::EnsureInitializedForCurrentThread() {
  log_double::slot.initialized = true;
}

}  // namespace base::threading
