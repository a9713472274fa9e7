#pragma once

#include <windows.h>

namespace windows_calls {

/// What a call leaves as the thread's last error; 0 if it sets none.
template <class F>
DWORD ErrorOf(F call) {
  SetLastError(ERROR_SUCCESS);
  static_cast<void>(call());
  return GetLastError();
}

}  // namespace windows_calls
