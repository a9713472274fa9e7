#include "radio/library_thread.h"

#include <utility>

namespace plenar_ble {
namespace {

thread_local bool on_library_thread = false;

}  // namespace

bool OnLibraryThread() noexcept {
  return on_library_thread;
}

std::thread StartLibraryThread(std::function<void()> body) {
  return std::thread([body = std::move(body)] {
    on_library_thread = true;
    body();
  });
}

void RunOnLibraryThread(const std::function<void()>& body) {
  if (OnLibraryThread()) return body();
  StartLibraryThread(body).join();
}

}  // namespace plenar_ble
