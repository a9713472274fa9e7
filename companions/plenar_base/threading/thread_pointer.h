#pragma once

namespace base::threading {

/// The calling thread's one pointer; null until set. Can be used as long as the thread runs.
[[nodiscard]] void* GetThreadPointer() noexcept;

/// Sets it. When the thread ends with a pointer other than null, the pointer is set to null and
/// `ReleaseThreadPointer` is called with what it was, on that thread. A pointer that is set after
/// that is released in the same way as far as the platform still allows, and lost otherwise.
void SetThreadPointer(void* pointer);

/// Provided by the user of the pointer.
void ReleaseThreadPointer(void* pointer);

}  // namespace base::threading
