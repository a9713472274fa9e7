#include <windows.h>

#include "threading/loop_waiter.h"

namespace base::threading {

bool DispatchWindowMessage() {
  MSG message;
  if (!PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return false;
  DispatchMessageA(&message);
  return true;
}

}  // namespace base::threading
