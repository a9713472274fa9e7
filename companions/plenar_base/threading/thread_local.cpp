#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <plenar_base/thread_local.h>

#include "threading/thread_pointer.h"

namespace base::threading {
namespace {

struct Slot {
  std::string key;
  void* value;
  ThreadLocal::Cleanup cleanup;
};
using Slots = std::vector<Slot>;

Slots* CurrentSlots() noexcept {
  return static_cast<Slots*>(GetThreadPointer());
}

Slot* Find(std::string_view key) noexcept {
  Slots* const slots = CurrentSlots();
  if (slots == nullptr) return nullptr;
  const auto found = std::find_if(slots->begin(), slots->end(),
                                  [key](const Slot& slot) { return slot.key == key; });
  return found != slots->end() ? &*found : nullptr;
}

}  // namespace

void ReleaseThreadPointer(void* pointer) {
  const std::unique_ptr<Slots> slots(static_cast<Slots*>(pointer));
  for (const Slot& slot : *slots) {
    if (slot.value != nullptr && slot.cleanup != nullptr) slot.cleanup(slot.value);
  }
}

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
    CurrentSlots()->push_back({std::string(key), value, cleanup});
  }
}

void ThreadLocal::EnsureInitializedForCurrentThread() {
  if (CurrentSlots() != nullptr) return;
  auto slots = std::make_unique<Slots>();
  SetThreadPointer(slots.get());
  static_cast<void>(slots.release());  // owned by the thread now
}

}  // namespace base::threading
