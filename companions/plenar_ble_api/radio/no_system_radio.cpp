#include "radio/radio.h"

namespace plenar_ble {

Radio* SystemRadio() {
  return nullptr;
}

}  // namespace plenar_ble
