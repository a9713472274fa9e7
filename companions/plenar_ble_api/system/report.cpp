#include "system/report.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace plenar_ble {

void Callables::Log(LogLevel level, const std::string& message, const char* file, int line,
                    const char* function) {
  file += std::string_view(file).find_last_of("/\\") + 1;  // Its base name; npos + 1 is 0.
  log(file, line, function, static_cast<int>(level), message.c_str());
}

void Callables::LogFailure(const winrt::SystemError& error, const char* file, int line,
                           const char* function) {
  std::array<char, 11> number{};
  std::snprintf(number.data(), number.size(), "0x%08lX", static_cast<unsigned long>(error.number));
  Log(LogLevel::kError, std::string(error.name) + " failed, error: " + number.data(), file, line,
      function);
}

void Callables::ReportStatus(BlePublisherStatus status, BleError error) {
  owes_stopped = status != BlePublisherStatus::kStopped;
  status_changed(status, error);
}

BleError ErrorOf(winrt::BluetoothError error) {
  constexpr std::int32_t kFirst = 100;
  if (error == winrt::BluetoothError::kSuccess) return BleError::kNone;
  return BleError{kFirst + static_cast<std::int32_t>(error)};
}

BleError ErrorOf(const winrt::SystemError& error) {
  return ErrorOf(error.number == REGDB_E_CLASSNOTREG ? winrt::BluetoothError::kNotSupported
                                                     : winrt::BluetoothError::kOtherError);
}

}  // namespace plenar_ble
