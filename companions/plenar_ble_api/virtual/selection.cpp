#include <atomic>

#include <plenar_ble_control/virtual_radio.h>

#include "radio/radio.h"
#include "virtual/virtual_radio.h"

namespace plenar_ble {
namespace {

using plenar_ble_control::RadioKind;

/// The system's radio, where there is one, unless somebody chose.
std::atomic<Radio*>& Active() {
  static std::atomic<Radio*> active =
      SystemRadio() != nullptr ? SystemRadio() : &VirtualRadio::Instance();
  return active;
}

}  // namespace

Radio& ActiveRadio() {
  return *Active();
}

bool SelectRadio(RadioKind kind) {
  Radio* const wanted = kind == RadioKind::kSystem ? SystemRadio() : &VirtualRadio::Instance();
  if (wanted == nullptr) return false;
  Radio* const former = Active().exchange(wanted);
  if (former != wanted) {
    former->Clear();
    former->UnInit();  // Lets the library go.
  }
  return true;
}

RadioKind SelectedRadio() {
  return Active() == SystemRadio() ? RadioKind::kSystem : RadioKind::kVirtual;
}

}  // namespace plenar_ble
