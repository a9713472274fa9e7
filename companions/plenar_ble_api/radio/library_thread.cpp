#include "radio/library_thread.h"

#include <utility>

namespace plenar_ble {
namespace {

thread_local bool on_library_thread = false;

}  // namespace

bool OnLibraryThread() noexcept {
  return on_library_thread;
}

LibraryThreadScope::LibraryThreadScope() noexcept
    : former_(std::exchange(on_library_thread, true)) {}

LibraryThreadScope::~LibraryThreadScope() {
  on_library_thread = former_;
}

std::thread StartLibraryThread(std::function<void()> body) {
  return std::thread([body = std::move(body)] {
    const LibraryThreadScope scope;
    body();
  });
}

void RunOnLibraryThread(const std::function<void()>& body) {
  if (OnLibraryThread()) return body();
  StartLibraryThread(body).join();
}

}  // namespace plenar_ble
