#pragma once

#include <windows.h>

/// The last error of a call that returned null, success for any other result.
template <typename Result>
LSTATUS ErrorOf(Result result) {
  const auto error = static_cast<LSTATUS>(GetLastError());
  SetLastError(0);  // So that no later call is given this one's error.
  return result ? ERROR_SUCCESS : error;
}
