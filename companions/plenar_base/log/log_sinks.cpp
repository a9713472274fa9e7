#include <cerrno>
#include <fstream>
#include <iostream>
#include <system_error>

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
  explicit FileSink(const std::filesystem::path& file) : stream_(file, std::ios::app) {
    if (!stream_) throw std::system_error(errno, std::generic_category(), file.string());
  }

  void Write(const LogRecord& record) override {
    stream_ << FormatLogRecord(record) << std::endl;
    stream_.clear();  // a full disk loses lines only while it is full
  }

 private:
  std::ofstream stream_;
};

}  // namespace

std::shared_ptr<LogSink> MakeStderrSink() {
  return std::make_shared<StderrSink>();
}

std::shared_ptr<LogSink> MakeFileSink(const std::filesystem::path& file) {
  return std::make_shared<FileSink>(file);
}

}  // namespace base::log
