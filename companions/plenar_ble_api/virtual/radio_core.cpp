#include "virtual/radio_core.h"

#include <exception>
#include <string>

namespace plenar_ble {

void RadioCore::Log(LogLevel level, std::string_view message, const char* file, int line,
                    const char* function) {
  if (!initialised || !log.IsSet()) return;
  file += std::string_view(file).find_last_of("/\\") + 1;  // Its base name; npos + 1 is 0.
  try {
    scheduler.After(0, &log, [=, this, message = std::string(message)](Lock& lock) {
      lock.unlock();
      log(file, line, function, static_cast<int>(level), message.c_str());
    });
  } catch (const std::exception&) {
    // Without memory or threads: one line less.
  }
}

}  // namespace plenar_ble
