#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// What happened, in order. Any thread.
class Journal {
 public:
  void Note(std::string text) {
    const std::scoped_lock lock(mutex_);
    notes_.push_back(std::move(text));
    noted_.notify_all();
  }

  /// What was noted since the last call.
  std::vector<std::string> Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(notes_, {});
  }

  /// Whether `text` is noted, sooner or later.
  bool WaitFor(const std::string& text) {
    std::unique_lock lock(mutex_);
    return noted_.wait_for(lock, std::chrono::seconds(30), [&] {
      for (const std::string& note : notes_) {
        if (note == text) return true;
      }
      return false;
    });
  }

 private:
  std::mutex mutex_;
  std::condition_variable noted_;
  std::vector<std::string> notes_;
};
