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

}  // namespace plenar_ble
