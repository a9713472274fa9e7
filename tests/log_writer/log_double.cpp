#include "tests/log_writer/log_double.h"

#include <utility>

#include <plenar_base/log.h>
#include <plenar_base/thread_local.h>

namespace log_double {
namespace {

struct Slot {
  void* value = nullptr;
  base::threading::ThreadLocal::Cleanup cleanup = nullptr;
  bool initialized = false;
};

// The writer has one key; a second would be a fault.
thread_local Slot slot;

bool IsTheKey(std::string_view key) {
  return key == "base.log.stream";
}

}  // namespace

State& Get() {
  static State state;
  return state;
}

void CleanUpSlots() {
  if (slot.value != nullptr && slot.cleanup != nullptr) {
    slot.cleanup(std::exchange(slot.value, nullptr));
  }
}

}  // namespace log_double

namespace base::log {

int GetLogLevel() noexcept {
  ++log_double::Get().level_queries;
  return log_double::Get().level;
}

bool GetCheckLogLength() noexcept {
  ++log_double::Get().length_queries;
  return false;
}

void PrintLog(std::string&& tag, std::string&& file, int line, std::string&& function, int level,
              std::string&& message) {
  auto& state = log_double::Get();
  if (!state.record) return;
  state.lines.push_back(
      {std::move(tag), std::move(file), line, std::move(function), level, std::move(message)});
}

}  // namespace base::log

namespace base::threading {

using log_double::IsTheKey;
using log_double::slot;

void* ThreadLocal::GetValue(std::string_view key) noexcept {
  return IsTheKey(key) ? slot.value : nullptr;
}

void ThreadLocal::SetValue(std::string_view key, void* value, Cleanup cleanup) {
  if (IsTheKey(key) && slot.initialized) {
    slot.value = value;
    slot.cleanup = cleanup;
  }
}

void ThreadLocal::EnsureInitializedForCurrentThread() {
  slot.initialized = true;
}

}  // namespace base::threading
