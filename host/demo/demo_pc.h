#pragma once

#include <memory>

namespace qvs_host {

/// The Bluetooth settings of the machine that the demo runs on.
class DemoPc {
 public:
  virtual ~DemoPc() = default;

  /// Each changes a setting, of which the system then tells its programs.
  virtual void SetRadioOn(bool on) = 0;
  virtual void SetDiscoverable(bool discoverable) = 0;
};

/// The machine, if the demo may change its settings; null if they are to be left alone.
[[nodiscard]] std::unique_ptr<DemoPc> MakeDemoPc();

}  // namespace qvs_host
