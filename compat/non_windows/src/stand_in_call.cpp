#include "stand_in_call.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace simulated_pc {
namespace {

using CallObserver = SimulatedPc::CallObserver;

struct Failure {
  DWORD error;
  int times;
  int skip;
};

struct Hooks {
  std::mutex mutex;
  std::shared_ptr<const CallObserver> observer;
  std::map<std::string, std::deque<Failure>, std::less<>> failures;
};

/// Keeps the calls free of the lock while nobody observes them or has them fail.
constinit std::atomic<bool> hooks_are_set = false;

Hooks& GetHooks() {
  static Hooks& hooks = *new Hooks;
  return hooks;
}

template <typename Change>
void ChangeHooks(Change change) {
  Hooks& hooks = GetHooks();
  const std::lock_guard lock(hooks.mutex);
  change(hooks);
  hooks_are_set = hooks.observer != nullptr || !hooks.failures.empty();
}

}  // namespace

DWORD& StandInCall::ThreadError() noexcept {
  thread_local DWORD error = ERROR_SUCCESS;
  return error;
}

bool StandInCall::HooksAreSet() noexcept {
  return hooks_are_set;
}

bool StandInCall::IsObserved() {
  const std::lock_guard lock(GetHooks().mutex);
  return GetHooks().observer != nullptr;
}

void StandInCall::Observe(CallName name, const std::string& arguments) {
  std::shared_ptr<const CallObserver> observer;
  {
    const std::lock_guard lock(GetHooks().mutex);
    observer = GetHooks().observer;
  }
  if (observer == nullptr) return;
  // The observer may make calls itself; the observed program must not see their errors.
  const DWORD error = ThreadError();
  (*observer)(name, arguments);
  ThreadError() = error;
}

DWORD StandInCall::TakeFailure(CallName name) {
  DWORD error = ERROR_SUCCESS;
  ChangeHooks([&](Hooks& hooks) {
    const auto found = hooks.failures.find(name);
    if (found == hooks.failures.end()) return;
    Failure& failure = found->second.front();
    if (failure.skip > 0) {
      --failure.skip;
      return;
    }
    error = failure.error;
    if (--failure.times > 0) return;
    found->second.pop_front();
    if (found->second.empty()) hooks.failures.erase(found);
  });
  return error;
}

void StandInCall::Write(std::ostream& out, const char* text) {
  const auto value = reinterpret_cast<std::uintptr_t>(text);
  if (text == nullptr) {
    out << "null";
  } else if (value < 0x10000) {
    out << '#' << value;  // A class's atom or an export's ordinal in place of a name.
  } else {
    out << '"' << text << '"';
  }
}

void StandInCall::Write(std::ostream& out, const wchar_t* text) {
  if (text == nullptr) {
    out << "null";
    return;
  }
  out << '"';
  for (; *text != L'\0'; ++text) out << (*text < 0x80 ? static_cast<char>(*text) : '?');
  out << '"';
}

void StandInCall::Write(std::ostream& out, const void* pointer) {
  if (pointer == nullptr) {
    out << "null";
  } else {
    out << pointer;
  }
}

void SimulatedPc::SetCallObserver(CallObserver observer) {
  std::shared_ptr<const CallObserver> shared;
  if (observer) shared = std::make_shared<const CallObserver>(std::move(observer));
  ChangeHooks([&](Hooks& hooks) { hooks.observer.swap(shared); });
}

void SimulatedPc::FailNext(CallName call, std::uint32_t last_error, int times, int skip) {
  if (times <= 0) return;
  ChangeHooks([&](Hooks& hooks) {
    hooks.failures[std::string(call)].push_back({last_error, times, skip});
  });
}

void DropHooks() {
  std::shared_ptr<const CallObserver> dropped;
  ChangeHooks([&](Hooks& hooks) {
    hooks.observer.swap(dropped);
    hooks.failures.clear();
  });
}

STAND_IN DWORD GetLastError() {
  static_cast<void>(StandInCall("GetLastError"));
  return StandInCall::ThreadError();
}

STAND_IN void SetLastError(DWORD error) {
  static_cast<void>(StandInCall("SetLastError", error));
  StandInCall::ThreadError() = error;
}

}  // namespace simulated_pc
