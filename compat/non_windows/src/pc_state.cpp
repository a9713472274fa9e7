#include "pc_state.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace simulated_pc {
namespace {

struct SharedState {
  std::mutex mutex;
  std::condition_variable sent_message;
  PcState state;
};

/// Never destroyed: other libraries make calls while the process ends.
SharedState& Shared() {
  static SharedState& shared = *new SharedState;
  return shared;
}

char LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

ThreadId CurrentThread() noexcept {
  static constinit std::atomic<ThreadId> last_id = 0;
  thread_local const ThreadId id = ++last_id;
  return id;
}

HANDLE PcState::Open(Object object) {
  const auto handle = NewHandle<HANDLE>();
  objects.emplace(handle, std::move(object));
  return handle;
}

LockedPc::LockedPc() : state_(&Shared().state), lock_(Shared().mutex) {}

void LockedPc::WaitForSentMessage() {
  Shared().sent_message.wait(lock_);
}

void LockedPc::NotifySentMessage() {
  Shared().sent_message.notify_all();
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, LowerCase, LowerCase);
}

bool operator==(const GUID& a, const GUID& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::ranges::equal(a.Data4, b.Data4);
}

}  // namespace simulated_pc
