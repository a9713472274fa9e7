#pragma once

#include <utility>

#include "framework/log_writer.h"

namespace quorvel_service {

/// Runs `function` and drops whatever it throws: for calls whose failure must not skip the steps
/// that follow, where nobody above could do anything about it.
template <class F>
void Swallow(F&& function) noexcept {
  try {
    std::forward<F>(function)();
  } catch (...) {
  }
}

/// The callable that runs `function`, whatever its arguments are, and logs what it throws: for what
/// another library calls.
template <class F>
[[nodiscard]] auto Guarded(F function) {
  return [function = std::move(function)](auto&&... arguments) mutable noexcept {
    try {
      function(std::forward<decltype(arguments)>(arguments)...);
    } catch (...) {
      QV_LOG_FAILURE();
    }
  };
}

}  // namespace quorvel_service
