#include "threading/thread_pointer.h"

#include <array>
#include <cstddef>
#include <utility>

namespace base::threading {
namespace {

// Both are plain data, so that they can be used after the destructors of the thread have run.
thread_local void* current = nullptr;
thread_local std::size_t armed = 0;

struct ReleaseAtThreadExit {
  ~ReleaseAtThreadExit() {
    if (void* const pointer = std::exchange(current, nullptr)) ReleaseThreadPointer(pointer);
  }
};

template <int nth>
void Arm() {
  thread_local const ReleaseAtThreadExit at_exit;
  static_cast<void>(at_exit);
}

/// A pointer that is set while the thread is ending needs a destructor that has not run yet.
constexpr std::array kArm = {&Arm<0>, &Arm<1>, &Arm<2>, &Arm<3>};

}  // namespace

void* GetThreadPointer() noexcept {
  return current;
}

void SetThreadPointer(void* pointer) {
  const bool is_first = current == nullptr;
  current = pointer;
  if (is_first && pointer != nullptr && armed < kArm.size()) kArm[armed++]();
}

}  // namespace base::threading
