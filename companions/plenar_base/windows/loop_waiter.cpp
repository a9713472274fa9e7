#include "threading/loop_waiter.h"

#include <windows.h>

#include <algorithm>
#include <system_error>

namespace base::threading {

class LoopWaiter::Impl {
 public:
  const HANDLE event =
      CreateEventW(nullptr, /*bManualReset=*/FALSE, /*bInitialState=*/FALSE, nullptr);
};

LoopWaiter::LoopWaiter() : impl_(std::make_unique<Impl>()) {
  if (impl_->event == nullptr) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "main looper");
  }
}

LoopWaiter::~LoopWaiter() {
  CloseHandle(impl_->event);
}

void LoopWaiter::Wake() noexcept {
  SetEvent(impl_->event);
}

void LoopWaiter::Wait(std::uint64_t milliseconds) {
  const auto timeout = static_cast<DWORD>(std::min(milliseconds, kLongestWait));
  // Messages that are in the queue already, but have been seen by a peek, count as well.
  MsgWaitForMultipleObjectsEx(1, &impl_->event, timeout, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

}  // namespace base::threading
