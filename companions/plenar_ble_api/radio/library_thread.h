#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace plenar_ble {

/// Whether the calling thread is one of the library's own. What waits for these elsewhere must not
/// wait here.
[[nodiscard]] bool OnLibraryThread() noexcept;

/// A thread of the library. `body` must not throw.
[[nodiscard]] std::thread StartLibraryThread(std::function<void()> body);

/// Runs `body`, which must not throw, on a thread of the library, the caller's if it is one, and
/// returns when that is done.
void RunOnLibraryThread(const std::function<void()>& body);

/// Locks what is held while a radio goes up or down. A thread of the library may be what is waited
/// for there, and so gets no lock when that is under way elsewhere.
template <class Mutex>
[[nodiscard]] std::unique_lock<Mutex> LockLifecycle(Mutex& mutex) {
  if (OnLibraryThread()) return std::unique_lock(mutex, std::try_to_lock);
  return std::unique_lock(mutex);
}

/// Keeps the library loaded, so that no thread of its runs in code that is gone, whatever its user
/// unloads. To be dropped by a caller that has the library loaded itself.
struct LibraryRelease {
  void operator()(void* library) const;
};
using LibraryReference = std::unique_ptr<void, LibraryRelease>;

[[nodiscard]] LibraryReference ReferToLibrary();

}  // namespace plenar_ble
