#pragma once

#include <memory>
#include <utility>

#include <plenar_base/log_sink.h>

namespace qvs_host {

/// A log sink that receives lines for the life of the object.
class ScopedLogSink {
 public:
  explicit ScopedLogSink(std::shared_ptr<base::log::LogSink> sink) : sink_(std::move(sink)) {
    base::log::AddLogSink(sink_);
  }
  ~ScopedLogSink() { base::log::RemoveLogSink(sink_); }
  ScopedLogSink(const ScopedLogSink&) = delete;
  ScopedLogSink& operator=(const ScopedLogSink&) = delete;

 private:
  std::shared_ptr<base::log::LogSink> sink_;
};

}  // namespace qvs_host
