#include "radio/radio.h"

namespace plenar_ble {

Radio& ActiveRadio() {
  return *SystemRadio();
}

}  // namespace plenar_ble
