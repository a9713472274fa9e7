#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <plenar_base/log_sink.h>

namespace base::log {
namespace {

class StderrSink final : public LogSink {
 public:
  void Write(const LogRecord& record) override {
    // One insertion, so that lines of other processes on the same terminal do not cut in.
    std::cerr << FormatLogRecord(record) + '\n';
  }
};

class FileSink final : public LogSink {
 public:
  FileSink(std::filesystem::path file, std::uint64_t max_bytes)
      : file_(std::move(file)), max_bytes_(max_bytes) {
    Open();
    if (!stream_) throw std::system_error(errno, std::generic_category(), file_.string());
    flusher_ = std::jthread([this](const std::stop_token& stop) { FlushAtIntervals(stop); });
  }

  void Write(const LogRecord& record) override {
    constexpr int kError = 3;
    const std::string line = FormatLogRecord(record) + '\n';
    std::lock_guard lock(mutex_);
    if (size_ > 0 && size_ + line.size() > max_bytes_) Rotate();
    stream_ << line;
    size_ += line.size();
    if (record.level <= kError) {
      Flush();
    } else if (!std::exchange(unflushed_, true)) {
      changed_.notify_one();
    }
  }

 private:
  void Open() {
    stream_.open(file_, std::ios::app | std::ios::binary);  // as many bytes as are counted
    std::error_code no_size;
    const auto size = std::filesystem::file_size(file_, no_size);
    size_ = no_size ? 0 : size;
  }

  void Rotate() {
    stream_.close();
    std::error_code ignored;  // the file goes on growing then
    std::filesystem::rename(file_, std::filesystem::path(file_) += ".1", ignored);
    Open();
  }

  void Flush() {
    stream_.flush();
    stream_.clear();  // a full disk loses lines only while it is full
    unflushed_ = false;
  }

  void FlushAtIntervals(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return unflushed_; })) {
      changed_.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
      Flush();
    }
  }

  const std::filesystem::path file_;
  const std::uint64_t max_bytes_;
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::ofstream stream_;
  std::uint64_t size_ = 0;
  bool unflushed_ = false;
  std::jthread flusher_;  // the last: it uses the others
};

}  // namespace

std::shared_ptr<LogSink> MakeStderrSink() {
  return std::make_shared<StderrSink>();
}

std::shared_ptr<LogSink> MakeFileSink(const std::filesystem::path& file, std::uint64_t max_bytes) {
  return std::make_shared<FileSink>(file, max_bytes);
}

}  // namespace base::log
