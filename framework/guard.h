#pragma once

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

/// The callable that runs `function` like `Swallow`, whatever its arguments are.
template <class F>
[[nodiscard]] auto Swallowing(F function) {
  return [function = std::move(function)](auto&&... arguments) mutable noexcept {
    Swallow([&] { function(std::forward<decltype(arguments)>(arguments)...); });
  };
}

}  // namespace quorvel_service
