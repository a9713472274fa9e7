#pragma once

#include <functional>
#include <thread>

namespace plenar_ble {

/// Whether the calling thread is one of the library's own. What waits for the library's threads
/// elsewhere must not wait here.
[[nodiscard]] bool OnLibraryThread() noexcept;

/// A thread of the library. `body` must not throw.
[[nodiscard]] std::thread StartLibraryThread(std::function<void()> body);

}  // namespace plenar_ble
