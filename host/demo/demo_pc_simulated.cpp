#include <cstdint>

#include <simulated_pc/simulated_pc.h>

#include "host/demo/demo_pc.h"

namespace qvs_host {
namespace {

using simulated_pc::SimulatedPc;

/// The message parameter of a change of the device nodes.
constexpr std::uintptr_t kDeviceNodesChanged = 7;

class SimulatedDemoPc final : public DemoPc {
 public:
  void SetRadioOn(bool on) override {
    SimulatedPc::Get().SetRadioOn(on);
    SimulatedPc::Get().NotifyDeviceChange(kDeviceNodesChanged);
  }

  void SetDiscoverable(bool discoverable) override {
    SimulatedPc::Get().SetDiscoverable(discoverable);
    SimulatedPc::Get().NotifyDeviceChange(kDeviceNodesChanged);
  }
};

}  // namespace

std::unique_ptr<DemoPc> MakeDemoPc() {
  return std::make_unique<SimulatedDemoPc>();
}

}  // namespace qvs_host
