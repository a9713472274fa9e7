#include "threading/thread_pointer.h"

#include <windows.h>

#include <system_error>

namespace base::threading {
namespace {

DWORD SlotIndex();

void WINAPI OnThreadExit(void* pointer) {
  // The slot keeps its value until it is emptied, and one that is set meanwhile gets no callback.
  constexpr int kRounds = 4;
  for (int round = 0; pointer != nullptr && round < kRounds; ++round) {
    FlsSetValue(SlotIndex(), nullptr);
    ReleaseThreadPointer(pointer);
    pointer = FlsGetValue(SlotIndex());
  }
}

/// Fiber-local storage, since that comes with a callback at the thread's end.
DWORD SlotIndex() {
  static const DWORD index = [] {
    // The callback must stay loaded as long as there are threads.
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&OnThreadExit), &pinned);
    return FlsAlloc(&OnThreadExit);
  }();
  return index;
}

}  // namespace

void* GetThreadPointer() noexcept {
  // A log line must not change the error code that its statement tells of.
  const DWORD last_error = GetLastError();
  void* const pointer = FlsGetValue(SlotIndex());
  SetLastError(last_error);
  return pointer;
}

void SetThreadPointer(void* pointer) {
  if (!FlsSetValue(SlotIndex(), pointer)) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "thread-local slots");
  }
}

}  // namespace base::threading
