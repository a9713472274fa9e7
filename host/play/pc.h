#pragma once

namespace qvs_host {

/// The Bluetooth settings of the machine, of whose changes the system tells its programs.
struct Pc {
  void (*set_bluetooth)(bool on);
  void (*set_discoverable)(bool discoverable);
};

/// Null where the settings are the user's and left alone.
[[nodiscard]] const Pc* OurPc();

}  // namespace qvs_host
