#include "framework/log_writer.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>

#include <plenar_base/log.h>
#include <plenar_base/thread_local.h>

#include "framework/guard.h"

namespace quorvel_service {
namespace {

using base::threading::ThreadLocal;

constexpr std::string_view kStreamKey = "base.log.stream";

struct LogStreamDeleter {
  void operator()(LogStream* stream) const noexcept {
    delete[] stream->data;
    delete stream;
  }
};
using LogStreamPtr = std::unique_ptr<LogStream, LogStreamDeleter>;

/// The calling thread's buffer if this module made it: the slot is shared with whatever else in the
/// process writes lines this way.
thread_local LogStream* own_stream = nullptr;

void ReleaseStream(void* value) noexcept {
  LogStreamDeleter()(static_cast<LogStream*>(value));
  own_stream = nullptr;
}

/// Empties the unloading thread's slot, whose cleanup would otherwise be called after the module's
/// code is gone.
struct ReleaseAtUnload {
  ~ReleaseAtUnload() {
    if (own_stream == nullptr || ThreadLocal::GetValue(kStreamKey) != own_stream) return;
    Swallow([] { ThreadLocal::SetValue(kStreamKey, nullptr, nullptr); });
    ReleaseStream(own_stream);
  }
} const release_at_unload;

LogStream* CurrentStream(std::int32_t capacity) {
  if (void* existing = ThreadLocal::GetValue(kStreamKey)) return static_cast<LogStream*>(existing);
  LogStreamPtr stream(new LogStream{nullptr, capacity, 0});
  stream->data = new char[static_cast<std::size_t>(capacity) + 1]();
  ThreadLocal::EnsureInitializedForCurrentThread();
  ThreadLocal::SetValue(kStreamKey, stream.get(), &ReleaseStream);
  own_stream = stream.release();
  return own_stream;
}

/// Takes the text up to its first NUL out of the buffer, which is empty afterwards in any case.
std::string TakeMessage(LogStream& stream) {
  struct Emptied {
    LogStream& stream;
    ~Emptied() {
      stream.length = 0;
      stream.data[0] = '\0';
    }
  } const emptied{stream};
  stream.data[stream.capacity] = '\0';
  return stream.data;
}

std::string TextOrEmpty(const char* text) {
  return text == nullptr ? std::string() : text;
}

}  // namespace

LogStream& LogStream::Append(const char* text, std::size_t size) noexcept {
  const auto taken = std::min(size, static_cast<std::size_t>(capacity - length));
  if (taken == 0) return *this;
  std::memcpy(data + length, text, taken);
  length += static_cast<std::int32_t>(taken);
  data[length] = '\0';
  return *this;
}

__logwriter::__logwriter(int at_level, std::string&& in_file, int at_line,
                         std::string&& in_function, Sink to_sink, int requested_max_length)
    : file(std::move(in_file)),
      function(std::move(in_function)),
      level(at_level),
      line(at_line),
      sink(std::move(to_sink)),
      max_length(std::max<std::int32_t>(requested_max_length, kMinimumMaxLength)) {
  Swallow([this] { stream = CurrentStream(max_length); });
}

__logwriter::~__logwriter() {
  if (sink && stream != nullptr) Swallow([this] { Emit(); });
}

LogStream& __logwriter::Stream() noexcept {
  static constinit LogStream takes_nothing{nullptr, 0, 0};
  return stream == nullptr ? takes_nothing : *stream;
}

void __logwriter::Emit() {
  std::string message = TakeMessage(*stream);
  const auto limit = static_cast<std::size_t>(max_length);
  if (level != kUnlimitedLevel && message.size() > limit) {
    // Asked so that the base library can tell that lines are cut; the answer changes nothing.
    static_cast<void>(base::log::GetCheckLogLength());
    message.resize(limit);
  }
  sink(std::move(tag), std::move(file), line, std::move(function), level, std::move(message));
}

__logwriter MakeLogWriter(int level, std::string_view file, int line,
                          std::string_view function) noexcept {
  // Compilers differ in how they spell the name inside a lambda; the log does not.
  if (function == "operator()") function = "operator ()";
  try {
    return {level,
            std::string(file),
            line,
            std::string(function),
            &base::log::PrintLog,
            __logwriter::kMinimumMaxLength};
  } catch (...) {
    return {};
  }
}

void ForwardLibraryLog(const char* file, int line, const char* function, int level,
                       const char* message) noexcept {
  Swallow([&] {
    base::log::PrintLog("PlenarBle", TextOrEmpty(file), line, TextOrEmpty(function), level,
                        TextOrEmpty(message));
  });
}

void LogFailure(std::string_view file, int line, std::string_view function) noexcept {
  try {
    throw;
  } catch (const std::exception& exception) {
    QV_LOG_FROM(kError, file, function, line) << "operation failed: " << exception.what();
  } catch (...) {
    QV_LOG_FROM(kError, file, function, line) << "operation failed";
  }
}

}  // namespace quorvel_service
