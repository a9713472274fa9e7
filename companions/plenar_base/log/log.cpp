#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include <plenar_base/log.h>
#include <plenar_base/log_sink.h>
#include <plenar_base/time.h>

#include "immortal.h"

namespace base::log {
namespace {

constexpr int kVerbose = 7;

std::atomic<int> log_level{0};
std::atomic<std::uint64_t> long_line_count{0};

struct Sinks {
  std::mutex mutex;
  std::vector<std::shared_ptr<LogSink>> list;
  std::atomic<bool> any{false};  ///< Readable without the mutex.
};

thread_local bool writing = false;

}  // namespace

int GetLogLevel() noexcept {
  return log_level.load(std::memory_order_relaxed);
}

void SetLogLevel(int level) noexcept {
  log_level.store(level, std::memory_order_relaxed);
}

bool GetCheckLogLength() noexcept {
  long_line_count.fetch_add(1, std::memory_order_relaxed);
  return GetLogLevel() >= kVerbose;
}

std::uint64_t GetLongLineCount() noexcept {
  return long_line_count.load(std::memory_order_relaxed);
}

void AddLogSink(std::shared_ptr<LogSink> sink) {
  if (!sink) return;
  auto& sinks = Immortal<Sinks>();
  std::lock_guard lock(sinks.mutex);
  if (std::find(sinks.list.begin(), sinks.list.end(), sink) != sinks.list.end()) return;
  sinks.list.push_back(std::move(sink));
  sinks.any = true;
}

void RemoveLogSink(const std::shared_ptr<LogSink>& sink) {
  auto& sinks = Immortal<Sinks>();
  std::lock_guard lock(sinks.mutex);
  std::erase(sinks.list, sink);
  sinks.any = !sinks.list.empty();
}

void PrintLog(std::string&& tag, std::string&& file, int line, std::string&& function, int level,
              std::string&& message) {
  auto& sinks = Immortal<Sinks>();
  // A sink that logs all the same would wait for itself for ever.
  if (level > GetLogLevel() || !sinks.any || writing) return;

  std::lock_guard lock(sinks.mutex);
  const LogRecord record{util::time::GetTimestamp(), tag, file, line, function, level, message};
  writing = true;
  for (const auto& sink : sinks.list) {
    try {
      sink->Write(record);
    } catch (...) {  // there is nowhere to tell it
    }
  }
  writing = false;
}

}  // namespace base::log
