#pragma once

#include <string_view>

#include <plenar_base/plenar_base_export.h>

namespace base::threading {

/// Named per-thread slots: one pointer per thread and key, null until set.
class PLENAR_BASE_EXPORT ThreadLocal {
 public:
  /// Frees a slot's value when its thread ends. Runs on that thread.
  using Cleanup = void (*)(void* value);

  /// The calling thread's value under `key`, or null. [any thread]
  [[nodiscard]] static void* GetValue(std::string_view key) noexcept;

  /// Stores `value` under `key` for the calling thread. `cleanup` (may be null) runs at thread
  /// exit for a value that is then still there and not null; it is not run for a value that is
  /// replaced. Storing null empties the slot. A library that is unloaded must empty the slots
  /// whose cleanup it provided first. Requires `EnsureInitializedForCurrentThread`. [any thread]
  static void SetValue(std::string_view key, void* value, Cleanup cleanup);

  /// Prepares the calling thread's slots; may be called again, also while the thread is ending
  /// and its slots have already been cleaned up. [any thread]
  static void EnsureInitializedForCurrentThread();
};

}  // namespace base::threading
