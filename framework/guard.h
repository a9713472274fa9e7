#pragma once

#include <exception>
#include <utility>

namespace quorvel_service {

/// Runs `function` and drops whatever it throws: for code that another library calls, and for calls
/// whose failure must not skip the steps that follow.
template <class F>
void Swallow(F&& function) noexcept {
  try {
    std::forward<F>(function)();
  } catch (...) {
    // Nobody above could do anything about it.
  }
}

/// Runs `function` and gives what it throws, for calls that others have to follow before the
/// failure goes on its way; null if it throws nothing.
template <class F>
[[nodiscard]] std::exception_ptr Attempt(F&& function) noexcept {
  try {
    std::forward<F>(function)();
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

inline void Rethrow(const std::exception_ptr& failure) {
  if (failure) std::rethrow_exception(failure);
}

/// The callable that runs `function` like `Swallow`, whatever its arguments are.
template <class F>
[[nodiscard]] auto Swallowing(F function) {
  return [function = std::move(function)](auto&&... arguments) mutable noexcept {
    Swallow([&] { function(std::forward<decltype(arguments)>(arguments)...); });
  };
}

}  // namespace quorvel_service
