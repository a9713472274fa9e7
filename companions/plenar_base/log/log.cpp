#include <plenar_base/log.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <semaphore>
#include <utility>
#include <vector>

#include <plenar_base/log_sink.h>
#include <plenar_base/time_source.h>

#include "immortal.h"

namespace base::log {
namespace {

constexpr int kVerbose = 7;

std::atomic<int> configured_level{0};
std::atomic<bool> has_sink{false};
std::atomic<unsigned> thread_count{0};

enum class Place { kNotInSink, kInSink, kInSinkWithLineOfSink };

struct Thread {
  unsigned number;  ///< 0 before its first line.
  Place place;
};
thread_local Thread this_thread{0, Place::kNotInSink};

/// The sinks, and what is to be done with them: one job after the other in the order in which they
/// came, each by the thread that brings it or else by the one that is doing others. So a thread's
/// jobs are done in its order, and a line never waits for a sink.
class Output {
 public:
  struct Entry {
    std::shared_ptr<LogSink> sink;
    bool is_removed;  ///< From inside a sink: goes when all have the line.
  };
  using Entries = std::list<Entry>;

  void Write(const LogRecord& record) {
    const bool from_sink = this_thread.place != Place::kNotInSink;
    if (Begin()) {
      WriteNow(record, from_sink);
      DoWaiting(1);
    } else {
      Add([this, from_sink, time = record.timestamp, thread = record.thread, tag = record.tag,
           file = record.file, line = record.line, function = record.function, level = record.level,
           message = record.message] {
        WriteNow({time, thread, tag, file, line, function, level, message}, from_sink);
      });
    }
  }

  /// Runs `change`, which does not throw, while no sink is called, or else inside the caller's.
  template <class Change>
  void Do(Change change) {
    if (this_thread.place != Place::kNotInSink) return change(entries_);
    const auto change_now = [&] {
      change(entries_);
      DropRemoved();
    };
    if (Begin()) {
      change_now();
      DoWaiting(1);
    } else {
      std::binary_semaphore done(0);
      Add([&] {
        change_now();
        done.release();
      });
      done.acquire();
    }
  }

 private:
  using Job = std::function<void()>;

  /// Whether a job can be done at once, by the calling thread, with `DoWaiting` to follow.
  bool Begin() {
    std::size_t none = 0;
    return undone_.compare_exchange_strong(none, 1);
  }

  void Add(Job job) {
    {
      std::lock_guard lock(mutex_);
      waiting_.push_back(std::move(job));
      if (undone_.fetch_add(1) != 0) return;
    }
    DoWaiting(0);
  }

  void DoWaiting(std::size_t done) {
    while (undone_.fetch_sub(done) > done) {
      std::vector<Job> jobs;
      {
        std::lock_guard lock(mutex_);
        jobs.swap(waiting_);
      }
      for (const Job& job : jobs) job();
      done = jobs.size();
    }
  }

  void WriteNow(const LogRecord& record, bool from_sink) noexcept {
    this_thread.place = from_sink ? Place::kInSinkWithLineOfSink : Place::kInSink;
    for (const Entry& entry : entries_) {
      try {
        if (!entry.is_removed) entry.sink->Write(record);
      } catch (...) {  // there is nowhere to tell it
      }
    }
    if (std::ranges::any_of(entries_, &Entry::is_removed)) DropRemoved();
    this_thread.place = Place::kNotInSink;
  }

  void DropRemoved() noexcept {
    entries_.remove_if([](const Entry& entry) { return entry.is_removed; });
  }

  std::atomic<std::size_t> undone_{0};  // whoever makes it more than 0 does jobs until it is 0
  std::mutex mutex_;
  std::vector<Job> waiting_;
  Entries entries_;  // belongs to whoever does jobs
};

}  // namespace

int GetLogLevel() noexcept {
  return has_sink.load(std::memory_order_relaxed) ? configured_level.load(std::memory_order_relaxed)
                                                  : 0;
}

void SetLogLevel(int level) noexcept {
  configured_level.store(level, std::memory_order_relaxed);
}

bool GetCheckLogLength() noexcept {
  return GetLogLevel() >= kVerbose;
}

void AddLogSink(std::shared_ptr<LogSink> sink) {
  if (!sink) return;
  Output::Entries added{{std::move(sink), false}};
  Immortal<Output>().Do([&added](Output::Entries& entries) {
    const auto is_it = [&](const Output::Entry& entry) {
      return entry.sink == added.front().sink && !entry.is_removed;
    };
    if (std::any_of(entries.begin(), entries.end(), is_it)) return;
    entries.splice(entries.end(), added);
    has_sink = true;
  });
}

void RemoveLogSink(const std::shared_ptr<LogSink>& sink) {
  Immortal<Output>().Do([&sink](Output::Entries& entries) {
    bool is_any_left = false;
    for (Output::Entry& entry : entries) {
      if (entry.sink == sink) entry.is_removed = true;
      if (!entry.is_removed) is_any_left = true;
    }
    has_sink = is_any_left;
  });
}

void PrintLog(std::string&& tag, std::string&& file, int line, std::string&& function, int level,
              std::string&& message) {
  if (level > GetLogLevel() || this_thread.place == Place::kInSinkWithLineOfSink) return;
  if (this_thread.number == 0) this_thread.number = ++thread_count;
  const std::uint64_t now = time::GetTimeSource()->WallMilliseconds();
  Immortal<Output>().Write({now, this_thread.number, tag, file, line, function, level, message});
}

}  // namespace base::log
