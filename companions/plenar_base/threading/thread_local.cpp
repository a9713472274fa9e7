#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <plenar_base/thread_local.h>

namespace base::threading {
namespace {

struct Slot {
  std::string key;
  void* value;
  ThreadLocal::Cleanup cleanup;
};
using Slots = std::vector<Slot>;

// A plain pointer, so that it can be read at any time in the life of its thread.
thread_local Slots* slots = nullptr;

void CleanUp() {
  // A cleanup that sets a value makes new slots.
  const std::unique_ptr<Slots> ended(std::exchange(slots, nullptr));
  if (!ended) return;
  for (const Slot& slot : *ended) {
    if (slot.value != nullptr && slot.cleanup != nullptr) slot.cleanup(slot.value);
  }
}

struct CleanUpAtThreadExit {
  ~CleanUpAtThreadExit() { CleanUp(); }
};

template <int nth>
void ArmCleanUp() {
  thread_local const CleanUpAtThreadExit at_exit;
  static_cast<void>(at_exit);
}

/// Slots that are made anew while their thread is ending need a clean-up that has not run yet. A
/// thread that uses up all of these loses what it sets after that.
constexpr std::array kArmCleanUp = {&ArmCleanUp<0>, &ArmCleanUp<1>, &ArmCleanUp<2>, &ArmCleanUp<3>};
thread_local std::size_t armed = 0;

Slot* Find(std::string_view key) {
  if (slots == nullptr) return nullptr;
  const auto found = std::find_if(slots->begin(), slots->end(),
                                  [key](const Slot& slot) { return slot.key == key; });
  return found != slots->end() ? &*found : nullptr;
}

}  // namespace

void* ThreadLocal::GetValue(std::string_view key) noexcept {
  const Slot* const slot = Find(key);
  return slot != nullptr ? slot->value : nullptr;
}

void ThreadLocal::SetValue(std::string_view key, void* value, Cleanup cleanup) {
  if (Slot* const slot = Find(key)) {
    slot->value = value;
    slot->cleanup = cleanup;
  } else if (value != nullptr) {
    EnsureInitializedForCurrentThread();
    slots->push_back({std::string(key), value, cleanup});
  }
}

void ThreadLocal::EnsureInitializedForCurrentThread() {
  if (slots != nullptr) return;
  slots = new Slots;
  if (armed < kArmCleanUp.size()) kArmCleanUp[armed++]();
}

}  // namespace base::threading
