#include "virtual/radio_core.h"

#include <string_view>
#include <utility>

namespace plenar_ble {
namespace {

const char* BaseName(const char* path) {
  const std::size_t separator = std::string_view(path).find_last_of("/\\");
  return separator == std::string_view::npos ? path : path + separator + 1;
}

}  // namespace

void RadioCore::Log(LogLevel level, std::string message, const char* file, int line,
                    const char* function) {
  if (!initialised || !log.IsSet()) return;
  scheduler.After(0, &log, [=, this, message = std::move(message)](Lock& lock) {
    lock.unlock();
    log(BaseName(file), line, function, static_cast<int>(level), message.c_str());
  });
}

}  // namespace plenar_ble
